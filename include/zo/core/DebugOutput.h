#pragma once

#include <zo/Export.h>

#include <functional>
#include <string>

namespace zo {

// The server's debug log. Silent until the application installs a sink at start-up.
ZO_EXPORT void OutputDebugString(const std::string& text);
ZO_EXPORT void SetDebugOutput(std::function<void(const std::string&)> sink);

}  // namespace zo
