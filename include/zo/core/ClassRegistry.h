#pragma once

#include <string_view>
#include <vector>

#include <zo/core/Rtti.h>

namespace zo {

// Every defined data class, by short name ("TCliente") and qualified name ("Demo.TCliente").
// Filled at start-up by the class definitions, read-only afterwards.
void RegisterClass(TDataObjectClass cls);
TDataObjectClass FindClass(std::string_view name);  // nullptr when unknown
std::vector<TDataObjectClass> RegisteredClasses();

}  // namespace zo
