#pragma once

#include <zo/Export.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace zo {

// The connection's parameter list: "name=value" lines, as in a conn.conf file. Names are
// compared ignoring ASCII case and are taken exactly as written (no trimming), like the
// string lists the connection parameters were first kept in.
class ZO_EXPORT TConnectionParams {
 public:
  TConnectionParams() = default;
  explicit TConnectionParams(std::vector<std::string> lines) : lines_(std::move(lines)) {}

  // Replaces the lines with the file's. Lines may end with "\n" or "\r\n". Throws
  // zo::Exception naming the file when it cannot be read.
  void LoadFromFile(const std::filesystem::path& path);
  // Writes the lines, each ended by "\n", to a temporary file in the same directory and
  // renames it into place, so a concurrent reader sees the old file or the new one, never
  // half of one.
  void SaveToFile(const std::filesystem::path& path) const;

  // The value of the first line named `name`; empty when there is none.
  std::string Values(std::string_view name) const;
  // Replaces the value of the first line named `name`, or appends "name=value".
  void SetValue(std::string_view name, std::string_view value);

  const std::vector<std::string>& Lines() const { return lines_; }
  void Add(std::string line) { lines_.push_back(std::move(line)); }
  void Clear() { lines_.clear(); }
  std::size_t Count() const { return lines_.size(); }

 private:
  std::vector<std::string>::const_iterator Find(std::string_view name) const;

  std::vector<std::string> lines_;
};

}  // namespace zo
