#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <string>
#include <variant>

#include <zo/core/TypeInfo.h>

namespace zo {

class TObject;

// A property value read through reflection, tagged with the property's type. Scalars are held
// by value; an object-valued property yields an observer pointer (the owner keeps it).
class ZO_EXPORT TValue {
 public:
  using Data = std::variant<std::monostate, int64_t, double, bool, std::string, TObject*>;

  TValue() = default;
  TValue(const TTypeInfo* type, Data data) : type_(type), data_(std::move(data)) {}

  const TTypeInfo* Type() const { return type_; }
  TTypeKind Kind() const { return type_ ? type_->kind : TTypeKind::tkUnknown; }
  const std::string& TypeName() const;
  const Data& Raw() const { return data_; }

  bool IsEmpty() const;       // no value, or an object property holding nothing
  int64_t AsOrdinal() const;  // integers, Int64, enumerations, Booleans
  int32_t AsInteger() const { return static_cast<int32_t>(AsOrdinal()); }
  double AsFloat() const;
  bool AsBoolean() const;
  const std::string& AsString() const;  // strings and characters (UTF-8)
  TObject* AsObject() const;

  // Equality of the stored values (the type tag is not compared).
  friend bool operator==(const TValue& a, const TValue& b) { return a.data_ == b.data_; }

 private:
  const TTypeInfo* type_ = nullptr;
  Data data_;
};

}  // namespace zo
