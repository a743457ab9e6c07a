#include "apps/zo-server/RootLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include <zo/core/Exceptions.h>

namespace zo::app {

RootLock::RootLock(const std::filesystem::path& root) {
  const std::string path = (root / "zo-server.lock").string();
  fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (fd_ < 0) {
    throw Exception("Não foi possível abrir " + path + ": " + std::strerror(errno));
  }
  if (::flock(fd_, LOCK_EX | LOCK_NB) == 0) {
    // The holder's pid, for the operator who wonders which process it is.
    const std::string pid = std::to_string(::getpid()) + "\n";
    if (::ftruncate(fd_, 0) == 0 && ::write(fd_, pid.data(), pid.size()) < 0) {
      // Only informative: the lock itself is what counts.
    }
    return;
  }
  const int error = errno;
  ::close(fd_);
  fd_ = -1;
  if (error == EWOULDBLOCK) {
    throw Exception("Outro zo-server já está servindo o diretório raiz " + root.string() +
                    " (trava " + path + ")");
  }
  throw Exception("Não foi possível travar " + path + ": " + std::strerror(error));
}

RootLock::~RootLock() {
  if (fd_ >= 0) ::close(fd_);  // releases the lock
}

}  // namespace zo::app
