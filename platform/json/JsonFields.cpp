#include "platform/json/JsonFields.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Dates.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Streams.h>
#include <zo/core/Text.h>
#include "platform/json/Base64.h"
#include "platform/json/JsonErrors.h"
#include "platform/json/Utf8Check.h"

namespace zo::json_fields {
namespace {

using json_errors::ThrowField;
using json_errors::ThrowWrongType;
using nlohmann::json;

enum class DateKind { None, Date, DateTime, Time };

DateKind DateKindOf(const TRttiProperty& property) {
  const std::string& name = property.TypeName();
  if (name == "TDate") return DateKind::Date;
  if (name == "TDateTime") return DateKind::DateTime;
  if (name == "TTime") return DateKind::Time;
  return DateKind::None;
}

bool IsBoolean(const TRttiProperty& property) { return property.TypeName() == "Boolean"; }

bool IsStreamShape(const TRttiProperty& property) {
  return property.Shape() == TObjectShape::Stream || property.Shape() == TObjectShape::Bitmap;
}

// ---- object -> JSON ----

json EncodeStream(const TObject* held) {
  if (held == nullptr) return nullptr;
  if (const auto* memory = dynamic_cast<const TMemoryStream*>(held)) {
    return base64::Encode(memory->Bytes());
  }
  // Any other stream is read whole and left where its reader had it.
  auto& stream = const_cast<TStream&>(dynamic_cast<const TStream&>(*held));
  const int64_t position = stream.Position();
  stream.SetPosition(0);
  const std::vector<uint8_t> bytes = ReadRemaining(stream);
  stream.SetPosition(position);
  return base64::Encode(bytes);
}

json EncodeFloat(const TBaseDataObject& owner, const TRttiProperty& property, double value) {
  if (!std::isfinite(value)) ThrowField(owner, property, "número não finito não cabe em JSON");
  const DateKind kind = DateKindOf(property);
  if (kind == DateKind::None) return value;
  if (value == 0) return nullptr;  // zero is "no date"
  switch (kind) {
    case DateKind::Date:
      return dates::FormatDate(value);
    case DateKind::Time:
      return dates::FormatTime(value);
    default:
      return dates::FormatDate(value) + "T" + dates::FormatTime(value);
  }
}

json EncodeText(const TBaseDataObject& owner, const TRttiProperty& property, std::string text) {
  if (!utf8::IsValid(text)) ThrowField(owner, property, "texto que não é UTF-8 válido");
  return text;
}

// ---- JSON -> object ----

int64_t ReadInteger(const TBaseDataObject& owner, const TRttiProperty& property, const json& v,
                    int64_t minimum, int64_t maximum) {
  if (!v.is_number_integer()) ThrowWrongType(owner, property, "número inteiro", v);
  const bool fits = v.is_number_unsigned()
                        ? v.get<uint64_t>() <= static_cast<uint64_t>(maximum)
                        : v.get<int64_t>() >= minimum && v.get<int64_t>() <= maximum;
  if (!fits) {
    ThrowField(owner, property, "o valor " + v.dump() + " não cabe em " + property.TypeName());
  }
  return v.get<int64_t>();
}

double ReadFloat(const TBaseDataObject& owner, const TRttiProperty& property, const json& v) {
  if (DateKindOf(property) == DateKind::None) {
    if (!v.is_number()) ThrowWrongType(owner, property, "número", v);
    return v.get<double>();
  }
  if (v.is_null()) return 0;
  if (v.is_number()) return v.get<double>();  // days since 1899-12-30
  if (!v.is_string()) ThrowWrongType(owner, property, "data (texto ISO-8601 ou dias)", v);
  try {
    return dates::ParseIso(v.get_ref<const std::string&>());
  } catch (const Exception&) {
    ThrowField(owner, property, "data inválida " + v.dump());
  }
}

// A char property holds one Latin-1 byte; the wire carries it as a UTF-8 character.
std::string ReadAnsiChar(const TBaseDataObject& owner, const TRttiProperty& property,
                         const json& v) {
  if (!v.is_string()) ThrowWrongType(owner, property, "um caractere (texto)", v);
  const auto& s = v.get_ref<const std::string&>();
  if (text::Utf8Length(s) > 1 || !text::IsLatin1(s)) {
    ThrowField(owner, property, "esperado um caractere Latin-1, veio " + v.dump());
  }
  return text::Utf8ToLatin1(s);
}

std::string ReadChar(const TBaseDataObject& owner, const TRttiProperty& property, const json& v) {
  if (!v.is_string()) ThrowWrongType(owner, property, "um caractere (texto)", v);
  const auto& s = v.get_ref<const std::string&>();
  if (text::Utf8Length(s) > 1) {
    ThrowField(owner, property, "esperado um caractere, veio " + v.dump());
  }
  return s;
}

TValue::Data DecodeScalar(const TBaseDataObject& owner, const TRttiProperty& property,
                          const json& v) {
  constexpr int64_t kInt32Min = std::numeric_limits<int32_t>::min();
  constexpr int64_t kInt32Max = std::numeric_limits<int32_t>::max();
  switch (property.Kind()) {
    case TTypeKind::tkInteger:
      return ReadInteger(owner, property, v, kInt32Min, kInt32Max);
    case TTypeKind::tkInt64:
      return ReadInteger(owner, property, v, std::numeric_limits<int64_t>::min(),
                         std::numeric_limits<int64_t>::max());
    case TTypeKind::tkEnumeration:
      if (!IsBoolean(property)) return ReadInteger(owner, property, v, 0, kInt32Max);
      if (!v.is_boolean()) ThrowWrongType(owner, property, "booleano", v);
      return v.get<bool>();
    case TTypeKind::tkFloat:
      return ReadFloat(owner, property, v);
    case TTypeKind::tkChar:
      return ReadAnsiChar(owner, property, v);
    case TTypeKind::tkWChar:
      return ReadChar(owner, property, v);
    default:
      break;
  }
  if (!property.Type().IsString()) {
    ThrowField(owner, property, "o tipo \"" + property.TypeName() + "\" não tem forma em JSON");
  }
  if (!v.is_string()) ThrowWrongType(owner, property, "texto", v);
  return v.get<std::string>();
}

void DecodeStream(TBaseDataObject& owner, const TRttiProperty& property, const json& v) {
  if (v.is_null()) {
    property.SetObject(owner, nullptr);
    return;
  }
  if (!v.is_string()) ThrowWrongType(owner, property, "texto base64", v);
  auto bytes = base64::Decode(v.get_ref<const std::string&>());
  if (!bytes) ThrowField(owner, property, "base64 inválido");
  if (property.Shape() == TObjectShape::Bitmap) {
    property.SetObject(owner, std::make_unique<TBitmap>(std::move(*bytes)));
  } else {
    property.SetObject(owner, std::make_unique<TMemoryStream>(std::move(*bytes)));
  }
}

}  // namespace

json Encode(const TBaseDataObject& owner, const TRttiProperty& property) {
  if (IsStreamShape(property)) return EncodeStream(property.GetObject(owner));
  const TValue value = property.GetValue(owner);
  switch (property.Kind()) {
    case TTypeKind::tkInteger:
    case TTypeKind::tkInt64:
      return value.AsOrdinal();
    case TTypeKind::tkEnumeration:
      return IsBoolean(property) ? json(value.AsBoolean()) : json(value.AsOrdinal());
    case TTypeKind::tkFloat:
      return EncodeFloat(owner, property, value.AsFloat());
    case TTypeKind::tkChar:
      return text::Latin1ToUtf8(value.AsString());
    default:
      break;
  }
  if (!property.Type().IsString() && !property.Type().IsChar()) {
    ThrowField(owner, property, "o tipo \"" + property.TypeName() + "\" não tem forma em JSON");
  }
  return EncodeText(owner, property, value.AsString());
}

void Decode(TBaseDataObject& owner, const TRttiProperty& property, const json& value) {
  if (IsStreamShape(property)) {
    DecodeStream(owner, property, value);
  } else {
    property.SetValue(owner, TValue(nullptr, DecodeScalar(owner, property, value)));
  }
}

}  // namespace zo::json_fields
