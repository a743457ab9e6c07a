// What the SQL layer costs over Firebird's own API for the two statements the persistence
// layer runs most: a one-row SELECT by key and a one-row INSERT. Both sides run the same texts
// on their own attachment to the same database, prepare each statement per execution, run
// SELECTs in a held read-only read-committed transaction and commit each INSERT in its own
// read-write transaction. Prints "layer/raw ratio" per statement from the medians.
//
// Embedded by default (a fresh database in a temporary directory, forced writes off). To
// measure a server instead: ZO_BENCH_DATABASE=host/port:/path/x.fdb ZO_BENCH_PASSWORD=...
// (the database is created there and must not exist).
#include <firebird/Interface.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/db/CreateDatabase.h"
#include <zo/platform/db/SQLConnection.h>

namespace {

using namespace Firebird;

constexpr int kRows = 1000;

// Where the benchmark runs: a fresh embedded database unless ZO_BENCH_DATABASE names one.
struct Target {
  std::string database;
  std::string password = "masterkey";
  std::filesystem::path tempDir;  // removed at the end when the database is ours

  Target() {
    if (const char* db = std::getenv("ZO_BENCH_DATABASE")) {
      database = db;
      if (const char* pw = std::getenv("ZO_BENCH_PASSWORD")) password = pw;
    } else {
      tempDir =
          std::filesystem::temp_directory_path() / ("zo-sql-bench-" + std::to_string(::getpid()));
      std::filesystem::create_directories(tempDir);
      database = (tempDir / "bench.fdb").string();
    }
  }
  ~Target() {
    if (!tempDir.empty()) std::filesystem::remove_all(tempDir);
  }
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;
};

std::string SelectText(int i) {
  return "SELECT ID, NAME FROM ITEMS WHERE ID = " + std::to_string(i % kRows + 1);
}

std::string InsertText(const char* table, int id) {
  return std::string("INSERT INTO ") + table + " (ID, NAME) VALUES (" + std::to_string(id) +
         ", 'name " + std::to_string(id) + "')";
}

void CreateDatabase(const Target& target) {
  zo::TCreateDatabaseOptions options;
  options.password = target.password;
  options.forcedWrites = false;
  zo::CreateDatabaseFile(target.database, options);
}

void OpenLayer(zo::TSQLConnection& conn, const Target& target) {
  conn.Params().SetValue("Database", target.database);
  conn.Params().SetValue("User_Name", "SYSDBA");
  conn.Params().SetValue("Password", target.password);
  conn.Open();
  auto cmd = conn.DBXConnection().CreateCommand();
  for (const char* ddl :
       {"CREATE TABLE ITEMS (ID INTEGER NOT NULL PRIMARY KEY, NAME VARCHAR(40))",
        "CREATE TABLE LAYER_INS (ID INTEGER NOT NULL PRIMARY KEY, NAME VARCHAR(40))",
        "CREATE TABLE RAW_INS (ID INTEGER NOT NULL PRIMARY KEY, NAME VARCHAR(40))",
        "EXECUTE BLOCK AS DECLARE I INTEGER = 1; BEGIN WHILE (I <= 1000) DO BEGIN "
        "INSERT INTO ITEMS VALUES (:I, 'item ' || :I); I = I + 1; END END"}) {
    cmd->SetText(ddl);
    cmd->ExecuteUpdate();
  }
}

// The raw side: Firebird's object API directly, one attachment for the whole run.
class Raw {
 public:
  explicit Raw(const Target& target)
      : master_(fb_get_master_interface()),
        statusObject_(master_->getStatus()),
        status_(statusObject_),
        provider_(master_->getDispatcher()) {
    IXpbBuilder* dpb =
        master_->getUtilInterface()->getXpbBuilder(&status_, IXpbBuilder::DPB, nullptr, 0);
    dpb->insertString(&status_, isc_dpb_user_name, "SYSDBA");
    dpb->insertString(&status_, isc_dpb_password, target.password.c_str());
    dpb->insertString(&status_, isc_dpb_lc_ctype, "UTF8");
    attachment_ =
        provider_->attachDatabase(&status_, target.database.c_str(), dpb->getBufferLength(&status_),
                                  dpb->getBuffer(&status_));
    dpb->dispose();
    readTpb_ = Tpb({isc_tpb_read, isc_tpb_read_committed, isc_tpb_rec_version}, 0);
    writeTpb_ = Tpb({isc_tpb_write, isc_tpb_read_committed, isc_tpb_rec_version, isc_tpb_wait}, 10);
    read_ = attachment_->startTransaction(&status_, readTpb_.size(), readTpb_.data());
  }
  ~Raw() {
    read_->commit(&status_);
    attachment_->detach(&status_);
    provider_->release();
    statusObject_->dispose();
  }

  void SelectOne(const std::string& sql, std::vector<unsigned char>& row) {
    IStatement* stmt = attachment_->prepare(&status_, read_, 0, sql.c_str(), 3,
                                            IStatement::PREPARE_PREFETCH_METADATA);
    IMessageMetadata* meta = stmt->getOutputMetadata(&status_);
    row.resize(meta->getMessageLength(&status_));
    const unsigned idAt = meta->getOffset(&status_, 0);
    const unsigned nameAt = meta->getOffset(&status_, 1);
    IResultSet* rs = stmt->openCursor(&status_, read_, nullptr, nullptr, meta, 0);
    if (rs->fetchNext(&status_, row.data()) == IStatus::RESULT_OK) {
      int id;
      std::memcpy(&id, row.data() + idAt, sizeof id);
      unsigned short length;
      std::memcpy(&length, row.data() + nameAt, sizeof length);
      std::string name(reinterpret_cast<const char*>(row.data() + nameAt + 2), length);
      benchmark::DoNotOptimize(id);
      benchmark::DoNotOptimize(name);
    }
    rs->close(&status_);
    stmt->free(&status_);
    meta->release();
  }

  void InsertOne(const std::string& sql) {
    ITransaction* tx = attachment_->startTransaction(&status_, writeTpb_.size(), writeTpb_.data());
    IStatement* stmt = attachment_->prepare(&status_, tx, 0, sql.c_str(), 3,
                                            IStatement::PREPARE_PREFETCH_METADATA);
    stmt->execute(&status_, tx, nullptr, nullptr, nullptr, nullptr);
    stmt->free(&status_);
    tx->commit(&status_);
  }

 private:
  std::vector<unsigned char> Tpb(std::initializer_list<unsigned char> tags, int lockTimeout) {
    IXpbBuilder* tpb =
        master_->getUtilInterface()->getXpbBuilder(&status_, IXpbBuilder::TPB, nullptr, 0);
    for (unsigned char tag : tags) tpb->insertTag(&status_, tag);
    if (lockTimeout > 0) tpb->insertInt(&status_, isc_tpb_lock_timeout, lockTimeout);
    const unsigned char* bytes = tpb->getBuffer(&status_);
    std::vector<unsigned char> result(bytes, bytes + tpb->getBufferLength(&status_));
    tpb->dispose();
    return result;
  }

  IMaster* master_;
  IStatus* statusObject_;
  ThrowStatusWrapper status_;
  IProvider* provider_;
  IAttachment* attachment_ = nullptr;
  ITransaction* read_ = nullptr;
  std::vector<unsigned char> readTpb_;
  std::vector<unsigned char> writeTpb_;
};

// What the benchmarks run on; lives in main() so that everything is closed before exit.
struct Fixture {
  Target target;
  zo::TSQLConnection layer;
  std::unique_ptr<Raw> raw;
};
Fixture* fixture = nullptr;

Raw& TheRaw() { return *fixture->raw; }
zo::TSQLConnection& Layer() { return fixture->layer; }

void BM_SelectByKey_Raw(benchmark::State& state) {
  std::vector<unsigned char> row;
  int i = 0;
  for (auto _ : state) TheRaw().SelectOne(SelectText(i++), row);
}

void BM_SelectByKey_Layer(benchmark::State& state) {
  auto cmd = Layer().DBXConnection().CreateCommand();
  int i = 0;
  for (auto _ : state) {
    cmd->SetText(SelectText(i++));
    auto reader = cmd->ExecuteQuery();
    if (reader->Next()) {
      benchmark::DoNotOptimize(reader->GetInt32(0));
      benchmark::DoNotOptimize(reader->GetString(1));
    }
  }
}

int nextRawId = 0;
int nextLayerId = 0;

void BM_InsertOne_Raw(benchmark::State& state) {
  for (auto _ : state) TheRaw().InsertOne(InsertText("RAW_INS", ++nextRawId));
}

void BM_InsertOne_Layer(benchmark::State& state) {
  auto cmd = Layer().DBXConnection().CreateCommand();
  for (auto _ : state) {
    cmd->SetText(InsertText("LAYER_INS", ++nextLayerId));
    cmd->ExecuteUpdate();
  }
}

BENCHMARK(BM_SelectByKey_Raw);
BENCHMARK(BM_SelectByKey_Layer);
BENCHMARK(BM_InsertOne_Raw);
BENCHMARK(BM_InsertOne_Layer);

// Keeps each benchmark's median times per iteration for the ratios printed at the end. Real
// time is what the target is about; CPU time (the calling thread does the engine's work when
// embedded) is shown too because it is steadier on a machine shared with other work.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
        medians_[run.run_name.function_name] = {run.GetAdjustedRealTime(),
                                                run.GetAdjustedCPUTime()};
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void PrintRatios() const {
    for (const std::string statement : {"SelectByKey", "InsertOne"}) {
      const auto layer = medians_.find("BM_" + statement + "_Layer");
      const auto raw = medians_.find("BM_" + statement + "_Raw");
      if (layer != medians_.end() && raw != medians_.end()) {
        std::printf("%s layer/raw ratio: %.3f (real time), %.3f (CPU time)\n", statement.c_str(),
                    layer->second.first / raw->second.first,
                    layer->second.second / raw->second.second);
      }
    }
  }

 private:
  std::map<std::string, std::pair<double, double>> medians_;  // real, CPU
};

}  // namespace

int main(int argc, char** argv) {
  // Medians of interleaved repetitions, so that a noisy neighbour on a shared machine hits
  // both sides alike; command-line flags still override these.
  std::vector<char*> args(argv, argv + argc);
  std::string repetitions = "--benchmark_repetitions=7";
  std::string interleave = "--benchmark_enable_random_interleaving=true";
  std::string minTime = "--benchmark_min_time=0.3";
  args.insert(args.begin() + 1, {repetitions.data(), interleave.data(), minTime.data()});
  int count = static_cast<int>(args.size());
  benchmark::Initialize(&count, args.data());
  Fixture f;
  CreateDatabase(f.target);
  OpenLayer(f.layer, f.target);
  f.raw = std::make_unique<Raw>(f.target);
  fixture = &f;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios();
  benchmark::Shutdown();
  fixture = nullptr;
  return 0;
}
