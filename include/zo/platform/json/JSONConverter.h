#pragma once

#include <zo/Export.h>

#include <zo/platform/json/Json.h>

namespace zo {

class TBaseDataObject;

// Walks a data object through its class's registered properties and builds its JSON:
//   {"type": "Unit.TClass", "id": 1, "fields": {"Codigo": 5, "Nome": "Ana", ...}}
// Held data objects take the same shape (null when absent), lists become arrays of them.
// "id" numbers the objects of one document in the order they are written. Owner links are not
// properties and are not written. The walk keeps no state between calls.
class ZO_EXPORT TJSONConverter {
 public:
  nlohmann::json Convert(const TBaseDataObject& object) const;
};

}  // namespace zo
