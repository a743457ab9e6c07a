#pragma once

#include <zo/Export.h>

#include <memory>
#include <string_view>

#include <zo/platform/json/Json.h>

namespace zo {

class TBaseDataObject;

// JSON -> data object, the inverse of TJSONMarshal. The class comes from the document's
// "type" (qualified or short name of a registered class); "id" is ignored; a field left out
// keeps the new object's default. Any mismatch (malformed text, unknown class or field, a value
// of the wrong JSON type, an object of the wrong class) raises zo::Exception naming it, and
// nothing built so far survives the error.
class ZO_EXPORT TJSONUnMarshal {
 public:
  // nullptr for JSON null.
  std::unique_ptr<TBaseDataObject> Unmarshal(const nlohmann::json& value) const;
  std::unique_ptr<TBaseDataObject> UnmarshalFromString(std::string_view text) const;
};

}  // namespace zo
