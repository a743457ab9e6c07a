#pragma once

#include <zo/Export.h>

#include <string>

namespace zo {

class TRttiType;

// Kinds of property types, numbered as the run-time type information the design switches on.
enum class TTypeKind : int {
  tkUnknown = 0,
  tkInteger = 1,
  tkChar = 2,
  tkEnumeration = 3,
  tkFloat = 4,
  tkString = 5,
  tkSet = 6,
  tkClass = 7,
  tkMethod = 8,
  tkWChar = 9,
  tkLString = 10,
  tkWString = 11,
  tkVariant = 12,
  tkArray = 13,
  tkRecord = 14,
  tkInterface = 15,
  tkInt64 = 16,
  tkDynArray = 17,
  tkUString = 18,
  tkClassRef = 19,
  tkPointer = 20,
  tkProcedure = 21,
};

// What a class-typed property holds.
enum class TObjectShape { None, DataObject, List, Stream, Bitmap };

// The type of one property: its kind, its declared type name ("TPrimaryKey", "TForeignKey",
// "Integer", "Boolean", "TDate", "TStream", ...) and, for object-valued properties, what they
// hold. One instance per C++ member type, created on first use and never changed.
struct ZO_EXPORT TTypeInfo {
  TTypeKind kind = TTypeKind::tkUnknown;
  std::string name;
  TObjectShape shape = TObjectShape::None;
  // The data class of a data-object property, the item class of a list property.
  const TRttiType* classType = nullptr;

  bool IsString() const {
    return kind == TTypeKind::tkString || kind == TTypeKind::tkLString ||
           kind == TTypeKind::tkWString || kind == TTypeKind::tkUString;
  }
  bool IsChar() const { return kind == TTypeKind::tkChar || kind == TTypeKind::tkWChar; }
};

}  // namespace zo
