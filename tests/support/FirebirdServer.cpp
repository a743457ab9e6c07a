#include "tests/support/FirebirdServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>

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
  const std::string hint = " (scripts/bootstrap.sh installs firebird3.0-server)";
  try {
    if (port_ == 0) throw std::runtime_error("no free loopback port");
    process_ = std::make_unique<ChildProcess>(
        kServerBinary, std::vector<std::string>{"-p", std::to_string(port_)}, ChildStreams{});
  } catch (const std::exception& e) {
    throw std::runtime_error(e.what() + hint);
  }
  for (int i = 0; i < 200 && process_->Running(); ++i) {
    if (Loopback(port_, true)) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  throw std::runtime_error(std::string(kServerBinary) + " did not listen on port " +
                           std::to_string(port_) + hint);
}

// Firebird 3's server does not always act on SIGTERM, so it gets a second to stop and is then
// killed (by the child's guard); its databases are throw-away files either way.
FirebirdServer::~FirebirdServer() {
  process_->Signal(SIGTERM);
  process_->Wait(std::chrono::seconds(1));
}

}  // namespace zo::testing
