#pragma once

#include <zo/Export.h>

#include <string>

#include <zo/mapping/ServerClasses.h>

namespace zo {

// The metadata of a class, built once per class and placement and kept for the life of the
// process. Without a host class the class is placed in its own table (the prefix is then
// ignored); with one, the answer addresses the host's table and key with its columns
// prefixed by `prefix`. All placements of a class share one TClassMapping. The entries are
// immutable and shared by every thread; callers never free them.
ZO_EXPORT TDataObjectInfoDB* GetObjectInfoDB(TDataObjectClass cls, TDataObjectClass hostClass = nullptr,
                                   const std::string& prefix = "");

// The name of the class's first class annotation ("" without one).
ZO_EXPORT std::string GetTableName(TDataObjectClass cls);
// The same, with checks that raise on a missing type, annotation or name.
ZO_EXPORT std::string GetAttributeTableName(TDataObjectClass cls);

}  // namespace zo
