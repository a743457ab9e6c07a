#pragma once

#include <functional>
#include <string>

namespace zo {

// The server's debug log. Silent until the application installs a sink at start-up.
void OutputDebugString(const std::string& text);
void SetDebugOutput(std::function<void(const std::string&)> sink);

}  // namespace zo
