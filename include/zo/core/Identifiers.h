#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <ostream>

namespace zo {

// Integer identifiers with a type of their own, so that the reflection layer can tell the key
// of a class (TPrimaryKey) and a reference to another class (TForeignKey) from a plain Integer.
// They convert implicitly to and from int32_t, so they read like plain integers in user code.
template <class Tag>
struct TIdentifier {
  int32_t value = -1;
  constexpr TIdentifier() = default;
  constexpr TIdentifier(int32_t v) : value(v) {}        // NOLINT(google-explicit-constructor)
  constexpr operator int32_t() const { return value; }  // NOLINT(google-explicit-constructor)
};

struct ZO_EXPORT TPrimaryKeyTag {};
struct ZO_EXPORT TForeignKeyTag {};
using TPrimaryKey = TIdentifier<TPrimaryKeyTag>;  // negative: not stored yet
using TForeignKey = TIdentifier<TForeignKeyTag>;  // -1: no reference

template <class Tag>
std::ostream& operator<<(std::ostream& os, TIdentifier<Tag> id) {
  return os << id.value;
}

}  // namespace zo
