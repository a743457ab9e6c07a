// The same round trip through a Firebird server over TCP, with a server this test starts on a
// free loopback port and stops afterwards.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "platform/db/CreateDatabase.h"
#include "tests/platform_db/DbTestSupport.h"

extern char** environ;

namespace zo::testing {
namespace {

constexpr const char* kServerBinary = "/usr/sbin/firebird";
constexpr const char* kPasswordFile = "/etc/firebird/3.0/SYSDBA.password";

// A socket descriptor closed at scope exit.
class Socket {
 public:
  Socket() : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {}
  ~Socket() {
    if (fd_ >= 0) ::close(fd_);
  }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  int fd() const { return fd_; }

 private:
  int fd_;
};

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int FreePort() {
  const Socket s;
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  if (::bind(s.fd(), reinterpret_cast<sockaddr*>(&address), length) != 0 ||
      ::getsockname(s.fd(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    return 0;
  }
  return ntohs(address.sin_port);
}

bool Accepts(int port) {
  const Socket s;
  const sockaddr_in address = Loopback(port);
  return ::connect(s.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

// ISC_PASSWORD="..." from the packaged SYSDBA password file; empty when unreadable.
std::string SysdbaPassword() {
  std::ifstream in(kPasswordFile);
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("ISC_PASSWORD=", 0) == 0) {
      std::string value = line.substr(13);
      if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
        value = value.substr(1, value.size() - 2);
      }
      return value;
    }
  }
  return {};
}

// A Firebird server process listening on a free loopback port while this object lives.
class ServerProcess {
 public:
  ServerProcess() : port_(FreePort()) {
    const std::string port = std::to_string(port_);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    char* const argv[] = {const_cast<char*>(kServerBinary), const_cast<char*>("-p"),
                          const_cast<char*>(port.c_str()), nullptr};
    if (port_ == 0 || posix_spawn(&pid_, kServerBinary, &actions, nullptr, argv, environ) != 0) {
      pid_ = 0;
    }
    posix_spawn_file_actions_destroy(&actions);
    WaitUntilListening();
  }

  // Firebird 3's server does not always act on SIGTERM (its shutdown thread can miss the
  // signal), so it gets a second to stop cleanly and is then killed; its database is a
  // throw-away file either way.
  ~ServerProcess() {
    if (pid_ == 0) return;
    ::kill(pid_, SIGTERM);
    for (int i = 0; i < 20; ++i) {
      if (::waitpid(pid_, nullptr, WNOHANG) == pid_) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  bool Listening() const { return listening_; }
  int Port() const { return port_; }

 private:
  void WaitUntilListening() {
    for (int i = 0; pid_ != 0 && i < 100; ++i) {
      if (Accepts(port_)) {
        listening_ = true;
        return;
      }
      if (::waitpid(pid_, nullptr, WNOHANG) == pid_) {
        pid_ = 0;  // it exited
        return;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }

  int port_;
  pid_t pid_ = 0;
  bool listening_ = false;
};

TEST(SqlLayerServer, EveryTypeRoundTripsOverTcp) {
  if (!std::filesystem::exists(kServerBinary)) {
    GTEST_SKIP() << kServerBinary << " is not installed (package firebird3.0-server)";
  }
  const std::string password = SysdbaPassword();
  if (password.empty()) {
    GTEST_SKIP() << "cannot read the SYSDBA password from " << kPasswordFile;
  }
  const ServerProcess server;
  if (!server.Listening()) {
    GTEST_SKIP() << kServerBinary << " did not start listening on port " << server.Port();
  }
  const TempDir dir;
  const std::string host = "127.0.0.1/" + std::to_string(server.Port());
  TCreateDatabaseOptions options;
  options.password = password;
  options.forcedWrites = false;
  CreateDatabaseFile(host + ":" + dir.File("server.fdb"), options);

  TSQLConnection conn;
  conn.Params().SetValue("Server", host);
  conn.Params().SetValue("ServerRoot", dir.Path().string());
  conn.Params().SetValue("Database", "server.fdb");
  conn.Params().SetValue("User_Name", "SYSDBA");
  conn.Params().SetValue("Password", password);
  conn.Open();
  EXPECT_EQ(Scalar(conn,
                   "SELECT MON$REMOTE_PROTOCOL FROM MON$ATTACHMENTS "
                   "WHERE MON$ATTACHMENT_ID = CURRENT_CONNECTION"),
            "TCPv4");
  CheckRoundTripOfEveryType(conn);
  conn.Close();
}

}  // namespace
}  // namespace zo::testing
