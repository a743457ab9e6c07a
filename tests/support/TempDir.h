#pragma once

#include <filesystem>
#include <string>

namespace zo::testing {

// A fresh directory under the system's temporary directory, removed with everything in it
// when the object goes away.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// Makes `path` the current directory for the object's lifetime.
class CurrentDirectory {
 public:
  explicit CurrentDirectory(const std::filesystem::path& path)
      : previous_(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~CurrentDirectory() { std::filesystem::current_path(previous_); }
  CurrentDirectory(const CurrentDirectory&) = delete;
  CurrentDirectory& operator=(const CurrentDirectory&) = delete;

 private:
  std::filesystem::path previous_;
};

// A whole file's bytes ("" when it is missing), and a file made of `text`.
std::string ReadText(const std::filesystem::path& path);
void WriteText(const std::filesystem::path& path, const std::string& text);

}  // namespace zo::testing
