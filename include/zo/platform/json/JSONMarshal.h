#pragma once

#include <zo/Export.h>

#include <memory>
#include <string>

#include <zo/platform/json/JSONConverter.h>
#include <zo/platform/json/Json.h>

namespace zo {

class TBaseDataObject;

// Data object -> JSON, through the converter it owns. The object is only read.
class ZO_EXPORT TJSONMarshal {
 public:
  TJSONMarshal();
  explicit TJSONMarshal(std::unique_ptr<TJSONConverter> converter);

  nlohmann::json Marshal(const TBaseDataObject& object) const;
  // Compact text, UTF-8 left as it is (not \u-escaped).
  std::string MarshalToString(const TBaseDataObject& object) const;

  const TJSONConverter& Converter() const { return *converter_; }

 private:
  std::unique_ptr<TJSONConverter> converter_;
};

}  // namespace zo
