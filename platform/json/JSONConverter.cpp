#include <zo/platform/json/JSONConverter.h>

#include <nlohmann/json.hpp>

#include <zo/core/BaseDataObject.h>
#include <zo/core/DataObjectList.h>
#include "platform/json/JsonFields.h"

namespace zo {
namespace {

using nlohmann::json;

// One document's walk: owns the running object number.
class TDocumentWriter {
 public:
  json Object(const TBaseDataObject& object) {
    json out = json::object();
    out["type"] = object.ClassType()->QualifiedName();
    out["id"] = nextId_++;  // before the fields: a holder is numbered before what it holds
    json fields = json::object();
    for (const TRttiProperty* property : object.ClassType()->Properties()) {
      fields[property->Name()] = Field(object, *property);
    }
    out["fields"] = std::move(fields);
    return out;
  }

 private:
  json Field(const TBaseDataObject& object, const TRttiProperty& property) {
    switch (property.Shape()) {
      case TObjectShape::DataObject: {
        const auto* held = static_cast<const TBaseDataObject*>(property.GetObject(object));
        return held == nullptr ? json(nullptr) : Object(*held);
      }
      case TObjectShape::List: {
        json items = json::array();
        const auto& list = static_cast<const TDataObjectList&>(*property.GetObject(object));
        for (const auto& item : list) items.push_back(Object(*item));
        return items;
      }
      default:
        return json_fields::Encode(object, property);
    }
  }

  int nextId_ = 1;
};

}  // namespace

json TJSONConverter::Convert(const TBaseDataObject& object) const {
  return TDocumentWriter().Object(object);
}

}  // namespace zo
