#include "tests/support/FirebirdServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace zo::testing {
namespace {

constexpr const char* kServerBinary = "/usr/sbin/firebird";
constexpr const char* kPasswordFile = "/etc/firebird/3.0/SYSDBA.password";

// Binds (port 0: a free one) or connects a loopback socket; returns the bound port, or 1 for
// a connection made, 0 on failure.
std::uint16_t Loopback(std::uint16_t port, bool connect) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* raw = reinterpret_cast<sockaddr*>(&address);
  std::uint16_t result = 0;
  if (connect) {
    result = ::connect(fd, raw, length) == 0 ? 1 : 0;
  } else if (::bind(fd, raw, length) == 0 && ::getsockname(fd, raw, &length) == 0) {
    result = ntohs(address.sin_port);
  }
  ::close(fd);
  return result;
}

}  // namespace

std::string SysdbaPassword() {
  std::ifstream in(kPasswordFile);
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("ISC_PASSWORD=", 0) != 0) continue;
    std::string value = line.substr(13);
    if (value.size() >= 2 && value.front() == '"') value = value.substr(1, value.size() - 2);
    if (!value.empty()) return value;
  }
  throw std::runtime_error(std::string("cannot read the SYSDBA password from ") + kPasswordFile +
                           " (scripts/bootstrap.sh installs firebird3.0-server)");
}

FirebirdServer::FirebirdServer() : port_(Loopback(0, false)) {
  const std::string port = std::to_string(port_);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  char* const argv[] = {const_cast<char*>(kServerBinary), const_cast<char*>("-p"),
                        const_cast<char*>(port.c_str()), nullptr};
  const bool spawned =
      port_ != 0 && posix_spawn(&pid_, kServerBinary, &actions, nullptr, argv, environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  if (!spawned) {
    pid_ = 0;
    throw std::runtime_error(std::string("cannot start ") + kServerBinary +
                             " (scripts/bootstrap.sh installs firebird3.0-server)");
  }
  for (int i = 0; i < 200; ++i) {
    if (Loopback(port_, true)) return;
    if (::waitpid(pid_, nullptr, WNOHANG) == pid_) {
      pid_ = 0;  // it exited
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  Stop();
  throw std::runtime_error(std::string(kServerBinary) + " did not listen on port " + port);
}

// Firebird 3's server does not always act on SIGTERM, so it gets a second to stop and is then
// killed; its databases are throw-away files either way.
FirebirdServer::~FirebirdServer() { Stop(); }

void FirebirdServer::Stop() {
  if (pid_ == 0) return;
  ::kill(pid_, SIGTERM);
  for (int i = 0; i < 20; ++i) {
    if (::waitpid(pid_, nullptr, WNOHANG) == pid_) {
      pid_ = 0;
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
  pid_ = 0;
}

}  // namespace zo::testing
