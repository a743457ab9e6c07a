#pragma once

#include <zo/platform/json/Json.h>

namespace zo {

class TBaseDataObject;
class TRttiProperty;

// The JSON form of the properties that hold a value rather than a data object: numbers,
// texts, characters, Booleans, enumerations, dates, streams and bitmaps. Both directions of
// each kind live here so that they cannot drift apart.
namespace json_fields {

nlohmann::json Encode(const TBaseDataObject& owner, const TRttiProperty& property);
// Raises zo::Exception naming the class and the field when the value does not fit.
void Decode(TBaseDataObject& owner, const TRttiProperty& property, const nlohmann::json& value);

}  // namespace json_fields
}  // namespace zo
