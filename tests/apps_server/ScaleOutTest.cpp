// Two zo-server processes on one application root whose customer database lives on a Firebird
// server: concurrent inserts, updates and DeleteArrays of one customer through both, then the
// database read back. No acknowledged write may be lost, and a DeleteArray is whole
// or absent.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include <fmt/format.h>

#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>
#include <zo/platform/db/SQLConnection.h>

#include "tests/apps_server/Deployment.h"
#include "tests/support/FirebirdServer.h"

namespace zo::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr int kThreads = 4;  // two a server
constexpr int kRounds = 12;
constexpr int kGroupSize = 20;

// Every customer connection, the root's included, names the Firebird server: several
// processes may then share the root.
void PointAtServer(const fs::path& root, std::uint16_t port, const std::string& password) {
  const std::string conf = fmt::format(
      "User_Name=SYSDBA\nPassword={}\nSQLDialect=3\nCharSet=UTF8\n"
      "Database=CustomersDB/{}/ZO.FDB\nServer=127.0.0.1/{}\nServerRoot={}\n",
      password, kAcme.id, port, root.string());
  std::ofstream(root / "conn.conf") << conf;
  std::ofstream(root / "CustomersDB" / kAcme.id / "conn.conf") << conf;
}

// CIDADES read through the Firebird server, as the servers' own conn.conf names it: id -> name.
std::map<int, std::string> Cities(const fs::path& root) {
  TSQLConnection connection;
  connection.LoadParamsFromFile(root / "conn.conf");
  connection.Open();
  auto command = connection.DBXConnection().CreateCommand();
  command->SetText("SELECT ID, NOME FROM CIDADES");
  std::map<int, std::string> cities;
  for (auto reader = command->ExecuteQuery(); reader->Next();) {
    cities[reader->GetInt32(0)] = reader->GetString(1);
  }
  return cities;
}

// What the clients were told succeeded.
struct Acknowledged {
  std::mutex mutex;
  std::map<int, std::string> names;  // inserted or updated: id -> last acknowledged name
  std::set<int> deletedGroups;
  std::set<int> triedGroups;
  int failedWrites = 0;  // inserts and updates, which never conflict here
};

std::vector<int> Group(int group) {
  std::vector<int> ids;
  for (int i = 0; i < kGroupSize; ++i) ids.push_back(100001 + group * kGroupSize + i);
  return ids;
}

json City(const std::string& name) {
  return {{"type", "DemoClasses.TCidade"}, {"fields", {{"Nome", name}, {"UF", "SO"}}}};
}

// One client: inserts a city and renames it each round, and deletes a group of the seeded
// cities that a client of the other server deletes at the same time.
void Work(int thread, std::uint16_t port, Acknowledged& acked) {
  rpc::RpcClient client(ClientOptions());
  client.Open("127.0.0.1", port);
  client.Connect(Credentials(kAcme));
  for (int round = 0; round < kRounds; ++round) {
    const std::string name = fmt::format("Escala {}-{}", thread, round);
    const int group = round * (kThreads / 2) + thread / 2;
    try {
      const int id = client.Call("Insert", {{"jObj", City(name)}}).get<int>();
      json city = City(name + " renomeada");
      city["fields"]["Codigo"] = id;
      {
        const std::lock_guard lock(acked.mutex);
        acked.names[id] = name;
      }
      client.Call("Update", {{"jObj", city}, {"Callback", true}});
      const std::lock_guard lock(acked.mutex);
      acked.names[id] = name + " renomeada";
    } catch (const std::exception&) {
      const std::lock_guard lock(acked.mutex);
      ++acked.failedWrites;
    }
    {
      const std::lock_guard lock(acked.mutex);
      acked.triedGroups.insert(group);
    }
    try {
      client.Call("DeleteArray", {{"AClassName", "TCidade"}, {"jArray", Group(group)}});
      const std::lock_guard lock(acked.mutex);
      acked.deletedGroups.insert(group);
    } catch (const rpc::RpcError&) {
      // The other server's client deleted (or is deleting) the same rows: allowed, as long as
      // the group ends whole or absent.
    }
  }
}

TEST(ScaleOut, TwoServersOnOneFirebirdServerLoseNoAcknowledgedWrite) {
  const std::string password = SysdbaPassword();

  Deployment deployment({.customers = {kAcme}, .seedAcme = true, .serverArgs = {}});
  ASSERT_EQ(deployment.Server().Stop(), 0);  // the embedded server let go of the database
  const FirebirdServer firebird;
  PointAtServer(deployment.Root(), firebird.Port(), password);

  const ZoServerProcess first(deployment.Root(), {"--log-level", "error"});
  const ZoServerProcess second(deployment.Root(), {"--log-level", "error"});
  Acknowledged acked;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back(Work, t, t % 2 == 0 ? first.Port() : second.Port(), std::ref(acked));
  }
  for (auto& thread : threads) thread.join();

  const auto cities = Cities(deployment.Root());
  EXPECT_EQ(acked.failedWrites, 0);
  EXPECT_EQ(acked.names.size(), static_cast<std::size_t>(kThreads * kRounds));
  for (const auto& [id, name] : acked.names) {
    const auto found = cities.find(id);
    ASSERT_NE(found, cities.end()) << "acknowledged city " << id << " is lost";
    EXPECT_EQ(found->second, name) << id;
  }
  EXPECT_FALSE(acked.deletedGroups.empty());
  for (const int group : acked.triedGroups) {
    int present = 0;
    for (const int id : Group(group)) present += static_cast<int>(cities.count(id));
    EXPECT_TRUE(present == 0 || present == kGroupSize) << "group " << group << ": " << present;
    if (acked.deletedGroups.count(group) > 0) {
      EXPECT_EQ(present, 0) << "group " << group;
    }
  }
  EXPECT_EQ(cities.count(100001 + kThreads / 2 * kRounds * kGroupSize), 1u)
      << "a city no client deleted is gone";
}

}  // namespace
}  // namespace zo::testing
