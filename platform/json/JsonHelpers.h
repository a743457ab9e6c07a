#pragma once

#include <memory>

#include <zo/platform/json/Json.h>

namespace zo {

class TBaseDataObject;

// Conversions that need no server module: each uses a marshaller of its own for the one call.
// nullptr for JSON null; otherwise the unmarshalled object (errors as TJSONUnMarshal).
std::unique_ptr<TBaseDataObject> JSONToDataObject(const nlohmann::json& value);
// JSON null for nullptr; otherwise the object's JSON. The object stays with the caller.
nlohmann::json DataObjectToJSON(const TBaseDataObject* object);

}  // namespace zo
