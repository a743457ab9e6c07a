#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Named "TEXT" resources (data scripts attached to tables, stored SQL statements). Linux
// libraries carry no resource section, so an application registers its texts at start-up under
// a module handle; the library reads them by handle and name (names ignore ASCII case).
namespace zo {

using THandle = std::uintptr_t;
// The handle of the application's own module, for applications that have only one.
inline constexpr THandle HInstance = 1;

ZO_EXPORT void RegisterTextResource(THandle module, std::string_view name, std::string text);
ZO_EXPORT std::optional<std::string> FindTextResource(THandle module, std::string_view name);
// As FindTextResource, but a missing resource raises the resource error.
ZO_EXPORT std::string LoadTextResource(THandle module, std::string_view name);

}  // namespace zo
