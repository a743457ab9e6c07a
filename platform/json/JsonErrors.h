#pragma once

#include <string>

#include <zo/platform/json/Json.h>

namespace zo {

class TBaseDataObject;
class TRttiProperty;

// The wording of the unmarshaller's errors, kept in one place so that every message names the
// class and the field the same way.
namespace json_errors {

// "texto", "número", "lista", ... for messages.
std::string KindName(const nlohmann::json& value);

// "Campo \"Nome\" da classe \"TCidade\": <problem>"
[[noreturn]] void ThrowField(const TBaseDataObject& owner, const TRttiProperty& property,
                             const std::string& problem);
// "Campo ...: esperado <expected>, veio <kind of value>"
[[noreturn]] void ThrowWrongType(const TBaseDataObject& owner, const TRttiProperty& property,
                                 const std::string& expected, const nlohmann::json& value);

}  // namespace json_errors
}  // namespace zo
