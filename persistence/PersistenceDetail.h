#pragma once

// Internal to persistence/: small pieces shared by its source files.

#include <string>
#include <string_view>

#include <zo/core/Attributes.h>
#include <zo/core/Rtti.h>
#include <zo/mapping/ServerClasses.h>

namespace zo::detail {

// The first `count` code points of UTF-8 text (never cutting a character in two).
std::string Utf8Left(std::string_view s, size_t count);

// A property's column in the table of `info`: "%s_%s" with the field prefix when there is one.
std::string PrefixedColumn(const TDataObjectInfoDB& info, const TRttiProperty* prop);

// The property named `name` of the class of `info`; raises when there is none.
const TRttiProperty* RequireProperty(const TDataObjectInfoDB& info, const std::string& name);

// What the first annotation of an aggregated-list property says: the reference column's name
// and the master class (`ownerClass` when the annotation names none).
std::string ListReferenceName(const TRttiProperty* listProperty);
TDataObjectClass ListMasterClass(const TRttiProperty* listProperty, TDataObjectClass ownerClass);

}  // namespace zo::detail
