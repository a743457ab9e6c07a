#pragma once

#include <zo/Export.h>

#include <string_view>
#include <vector>

#include <zo/core/Rtti.h>

namespace zo {

// Every defined data class, by short name ("TCliente") and qualified name ("Demo.TCliente").
// Filled at start-up by the class definitions, read-only afterwards.
ZO_EXPORT void RegisterClass(TDataObjectClass cls);
ZO_EXPORT TDataObjectClass FindClass(std::string_view name);  // nullptr when unknown
ZO_EXPORT std::vector<TDataObjectClass> RegisteredClasses();

}  // namespace zo
