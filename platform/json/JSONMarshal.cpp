#include <zo/platform/json/JSONMarshal.h>

#include <nlohmann/json.hpp>

#include <zo/core/Exceptions.h>

namespace zo {

TJSONMarshal::TJSONMarshal() : TJSONMarshal(std::make_unique<TJSONConverter>()) {}

TJSONMarshal::TJSONMarshal(std::unique_ptr<TJSONConverter> converter)
    : converter_(std::move(converter)) {
  if (!converter_) throw Exception("TJSONMarshal sem conversor");
}

nlohmann::json TJSONMarshal::Marshal(const TBaseDataObject& object) const {
  return converter_->Convert(object);
}

std::string TJSONMarshal::MarshalToString(const TBaseDataObject& object) const {
  return Marshal(object).dump();
}

}  // namespace zo
