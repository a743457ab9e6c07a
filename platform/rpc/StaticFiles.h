#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zo::rpc {

// One answer of the static-file route.
struct StaticReply {
  unsigned status = 200;
  std::string contentType;
  std::string body;
  std::string location;  // for a redirect
};

// Serves the files below `root` at the URL path `prefix` ("/console/"). Answers nullopt when
// `target` is not under the prefix (another route may take it). Only GET is served; the path is
// percent-decoded and any ".", ".." or hidden segment, backslash or NUL is refused, and the
// resolved file must still lie inside `root` (a symbolic link out of it is not followed).
// A directory serves its index.html.
std::optional<StaticReply> ServeStatic(const std::filesystem::path& root, std::string_view prefix,
                                       std::string_view method, std::string_view target);

// The Content-Type of a file name by its extension.
std::string ContentTypeOf(const std::filesystem::path& file);

}  // namespace zo::rpc
