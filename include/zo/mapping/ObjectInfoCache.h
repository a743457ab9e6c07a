#pragma once

#include <zo/Export.h>

#include <string>

#include <zo/mapping/ServerClasses.h>

namespace zo {

// The cached metadata of a class. Asking with a host class re-points the shared entry at that
// host and field prefix for every later caller of the same class (by design); asking without
// one leaves the entry as it is. Callers never free the result.
//
// The cache is one per thread: modules run on several threads at once, and the entries are
// mutated by the host/prefix re-pointing, so a shared cache would race. Within a thread the
// behaviour is exactly that of one process-wide cache.
ZO_EXPORT TDataObjectInfoDB* GetObjectInfoDB(TDataObjectClass cls, TDataObjectClass hostClass = nullptr,
                                   const std::string& prefix = "");

// The name of the class's first class annotation ("" without one).
ZO_EXPORT std::string GetTableName(TDataObjectClass cls);
// The same, with checks that raise on a missing type, annotation or name.
ZO_EXPORT std::string GetAttributeTableName(TDataObjectClass cls);

}  // namespace zo
