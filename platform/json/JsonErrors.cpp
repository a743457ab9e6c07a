#include "platform/json/JsonErrors.h"

#include <nlohmann/json.hpp>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Exceptions.h>

namespace zo::json_errors {

std::string KindName(const nlohmann::json& value) {
  using Kind = nlohmann::json::value_t;
  switch (value.type()) {
    case Kind::null:
      return "null";
    case Kind::boolean:
      return "booleano";
    case Kind::number_integer:
    case Kind::number_unsigned:
    case Kind::number_float:
      return "número";
    case Kind::string:
      return "texto";
    case Kind::array:
      return "lista";
    case Kind::object:
      return "objeto";
    default:
      return "valor binário";
  }
}

void ThrowField(const TBaseDataObject& owner, const TRttiProperty& property,
                const std::string& problem) {
  throw Exception("Campo \"" + property.Name() + "\" da classe \"" + owner.ClassName() +
                  "\": " + problem);
}

void ThrowWrongType(const TBaseDataObject& owner, const TRttiProperty& property,
                    const std::string& expected, const nlohmann::json& value) {
  ThrowField(owner, property, "esperado " + expected + ", veio " + KindName(value));
}

}  // namespace zo::json_errors
