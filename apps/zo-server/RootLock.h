#pragma once

#include <filesystem>

namespace zo::app {

// Holds an exclusive lock on "zo-server.lock" in the application root for the life of the
// process, so that a second server on the same root refuses to start instead of fighting the
// first over the customers' database files. The kernel drops the lock when the process ends,
// however it ends, so a crashed server leaves no stale lock behind.
class RootLock {
 public:
  // Throws zo::Exception when another process holds the lock or the file cannot be opened.
  explicit RootLock(const std::filesystem::path& root);
  ~RootLock();
  RootLock(const RootLock&) = delete;
  RootLock& operator=(const RootLock&) = delete;

 private:
  int fd_ = -1;
};

}  // namespace zo::app
