#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zo::schematool {

// Removes what a command made when the command fails half-way: registered paths are removed
// (directories with their contents) in reverse order unless Keep() was called.
class TCleanup {
 public:
  TCleanup() = default;
  ~TCleanup();
  TCleanup(const TCleanup&) = delete;
  TCleanup& operator=(const TCleanup&) = delete;

  void Add(std::filesystem::path path) { paths_.push_back(std::move(path)); }
  void Keep() { paths_.clear(); }

 private:
  std::vector<std::filesystem::path> paths_;
};

// A name beside `path` for building it before it is renamed into place: same directory (so
// the rename is atomic), hidden, unique to this process.
std::filesystem::path StagingPath(const std::filesystem::path& path);

// The whole file ("-" reads stdin). Throws zo::Exception naming the file.
std::string ReadTextFile(const std::string& path);
// Written to a staging name and renamed into place.
void WriteTextFile(const std::filesystem::path& path, const std::string& content);

// Whether the database name is a plain file path (embedded engine) rather than a server's
// "host:/path" or "host/port:/path".
bool IsLocalDatabase(const std::string& database);

}  // namespace zo::schematool
