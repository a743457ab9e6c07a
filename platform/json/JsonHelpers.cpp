#include "platform/json/JsonHelpers.h"

#include <nlohmann/json.hpp>

#include <zo/core/BaseDataObject.h>
#include <zo/platform/json/JSONMarshal.h>
#include <zo/platform/json/JSONUnMarshal.h>

namespace zo {

std::unique_ptr<TBaseDataObject> JSONToDataObject(const nlohmann::json& value) {
  if (value.is_null()) return nullptr;
  return TJSONUnMarshal().Unmarshal(value);
}

nlohmann::json DataObjectToJSON(const TBaseDataObject* object) {
  if (object == nullptr) return nullptr;
  return TJSONMarshal().Marshal(*object);
}

}  // namespace zo
