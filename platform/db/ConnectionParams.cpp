#include <zo/platform/db/ConnectionParams.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <system_error>

#include <zo/core/Exceptions.h>

namespace zo {
namespace {

bool SameNameIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    const auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; };
    return lower(x) == lower(y);
  });
}

std::string_view NameOf(std::string_view line) { return line.substr(0, line.find('=')); }

// A name no other writer uses at the same moment: other processes differ by pid, other
// threads of this one by the counter.
std::filesystem::path TemporaryNameFor(const std::filesystem::path& path) {
  static std::atomic<unsigned> counter{0};
  std::filesystem::path temp = path;
  temp += ".tmp" + std::to_string(::getpid()) + "_" + std::to_string(++counter);
  return temp;
}

}  // namespace

void TConnectionParams::LoadFromFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw Exception("Cannot open file \"" + path.string() + "\". " + std::strerror(errno));
  }
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    lines.push_back(line);
  }
  if (in.bad()) {
    throw Exception("Cannot read file \"" + path.string() + "\"");
  }
  lines_ = std::move(lines);
}

void TConnectionParams::SaveToFile(const std::filesystem::path& path) const {
  const std::filesystem::path temp = TemporaryNameFor(path);
  {
    std::ofstream out(temp, std::ios::binary | std::ios::trunc);
    for (const std::string& line : lines_) {
      out << line << '\n';
    }
    out.close();
    if (!out) {
      std::error_code ignored;
      std::filesystem::remove(temp, ignored);
      throw Exception("Cannot create file \"" + path.string() + "\"");
    }
  }
  std::error_code error;
  std::filesystem::rename(temp, path, error);
  if (error) {
    std::error_code ignored;
    std::filesystem::remove(temp, ignored);
    throw Exception("Cannot create file \"" + path.string() + "\". " + error.message());
  }
}

std::vector<std::string>::const_iterator TConnectionParams::Find(std::string_view name) const {
  return std::find_if(lines_.begin(), lines_.end(), [name](const std::string& line) {
    return line.find('=') != std::string::npos && SameNameIgnoringCase(NameOf(line), name);
  });
}

std::string TConnectionParams::Values(std::string_view name) const {
  const auto it = Find(name);
  return it == lines_.end() ? std::string() : it->substr(it->find('=') + 1);
}

void TConnectionParams::SetValue(std::string_view name, std::string_view value) {
  std::string line = std::string(name) + "=" + std::string(value);
  const auto it = Find(name);
  if (it == lines_.end()) {
    lines_.push_back(std::move(line));
  } else {
    lines_[static_cast<std::size_t>(it - lines_.begin())] = std::move(line);
  }
}

}  // namespace zo
