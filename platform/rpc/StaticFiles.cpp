#include "platform/rpc/StaticFiles.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <system_error>

namespace zo::rpc {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kMaxFileSize = 32 * 1024 * 1024;

StaticReply Plain(unsigned status, std::string text) {
  return {status, "text/plain; charset=utf-8", std::move(text), {}};
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::optional<std::string> PercentDecode(std::string_view in) {
  std::string out;
  for (std::size_t i = 0; i < in.size(); ++i) {
    if (in[i] != '%') {
      out += in[i];
      continue;
    }
    if (i + 2 >= in.size()) return std::nullopt;
    const int high = HexDigit(in[i + 1]);
    const int low = HexDigit(in[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    out += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return out;
}

// The relative file path of a decoded URL path, or nullopt when a segment is not acceptable.
std::optional<fs::path> SafeRelative(const std::string& decoded) {
  if (decoded.find('\\') != std::string::npos || decoded.find('\0') != std::string::npos) {
    return std::nullopt;
  }
  fs::path relative;
  std::size_t start = 0;
  while (start <= decoded.size()) {
    const std::size_t end = std::min(decoded.find('/', start), decoded.size());
    const std::string segment = decoded.substr(start, end - start);
    if (!segment.empty()) {
      if (segment.front() == '.') return std::nullopt;  // ".", "..", hidden files
      relative /= segment;
    }
    start = end + 1;
  }
  if (decoded.empty() || decoded.back() == '/') relative /= "index.html";
  return relative;
}

bool Inside(const fs::path& root, const fs::path& file) {
  const auto rootText = root.native();
  const auto fileText = file.native();
  return fileText.size() > rootText.size() && fileText.compare(0, rootText.size(), rootText) == 0 &&
         fileText[rootText.size()] == '/';
}

}  // namespace

std::string ContentTypeOf(const fs::path& file) {
  static const std::map<std::string, std::string> kTypes{{".html", "text/html; charset=utf-8"},
                                                         {".js", "text/javascript; charset=utf-8"},
                                                         {".mjs", "text/javascript; charset=utf-8"},
                                                         {".css", "text/css; charset=utf-8"},
                                                         {".json", "application/json"},
                                                         {".map", "application/json"},
                                                         {".svg", "image/svg+xml"},
                                                         {".png", "image/png"},
                                                         {".ico", "image/x-icon"},
                                                         {".txt", "text/plain; charset=utf-8"}};
  const auto it = kTypes.find(file.extension().string());
  return it == kTypes.end() ? "application/octet-stream" : it->second;
}

std::optional<StaticReply> ServeStatic(const fs::path& root, std::string_view prefix,
                                       std::string_view method, std::string_view target) {
  const std::string_view path = target.substr(0, target.find('?'));
  if (prefix.size() > 1 && prefix.back() == '/' && path == prefix.substr(0, prefix.size() - 1)) {
    StaticReply redirect = Plain(301, "Moved\n");
    redirect.location = std::string(prefix);
    return redirect;
  }
  if (path.substr(0, prefix.size()) != prefix) return std::nullopt;
  if (method != "GET") return Plain(405, "Use GET\n");
  const auto decoded = PercentDecode(path.substr(prefix.size()));
  const auto relative = decoded ? SafeRelative(*decoded) : std::nullopt;
  if (!relative) return Plain(400, "Bad path\n");

  std::error_code error;
  const fs::path base = fs::canonical(root, error);
  if (error) return Plain(404, "Not found\n");
  const fs::path file = fs::weakly_canonical(base / *relative, error);
  if (error || !Inside(base, file) || !fs::is_regular_file(file, error)) {
    return Plain(404, "Not found\n");
  }
  const auto size = fs::file_size(file, error);
  if (error || size > kMaxFileSize) return Plain(404, "Not found\n");
  std::ifstream in(file, std::ios::binary);
  std::string body(std::istreambuf_iterator<char>(in), {});
  if (!in && !in.eof()) return Plain(500, "Read error\n");
  return StaticReply{200, ContentTypeOf(file), std::move(body), {}};
}

}  // namespace zo::rpc
