#pragma once

#include <zo/Export.h>

#include <functional>
#include <string>

namespace zo {

// The server's debug log. Silent until the application installs a sink at start-up.
ZO_EXPORT void OutputDebugString(const std::string& text);
ZO_EXPORT void SetDebugOutput(std::function<void(const std::string&)> sink);
// Whether a sink is installed: callers on a hot path ask first, so that without a sink they
// neither build the text nor take the sink's lock.
ZO_EXPORT bool DebugOutputActive();

}  // namespace zo
