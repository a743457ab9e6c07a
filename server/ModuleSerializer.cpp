#include <zo/server/ModuleSerializer.h>

#include <nlohmann/json.hpp>

#include <zo/core/Text.h>
#include <zo/platform/json/JSONMarshal.h>
#include <zo/platform/json/JSONUnMarshal.h>

namespace zo {
namespace {

std::string ElementText(const nlohmann::json& element) {
  return element.is_string() ? element.get<std::string>() : element.dump();
}

}  // namespace

TModuleSerializer::TModuleSerializer()
    : FMarshal(std::make_unique<TJSONMarshal>(std::make_unique<TJSONConverter>())),
      FUnMarshal(std::make_unique<TJSONUnMarshal>()) {}

TModuleSerializer::~TModuleSerializer() = default;

nlohmann::json TModuleSerializer::Serialize(const TBaseDataObject* obj) const {
  if (obj == nullptr) return nullptr;
  return FMarshal->Marshal(*obj);
}

nlohmann::json TModuleSerializer::SerializeArray(
    std::vector<std::unique_ptr<TBaseDataObject>> objects) const {
  nlohmann::json array = nlohmann::json::array();
  for (auto& obj : objects) {
    array.push_back(Serialize(obj.get()));
    obj.reset();  // each object goes once it is written
  }
  return array;
}

nlohmann::json TModuleSerializer::SerializeIdArray(const std::vector<int32_t>& ids) {
  nlohmann::json array = nlohmann::json::array();
  for (const int32_t id : ids) array.push_back(id);
  return array;
}

std::unique_ptr<TBaseDataObject> TModuleSerializer::Unserialize(const nlohmann::json& json) const {
  return FUnMarshal->Unmarshal(json);
}

std::vector<std::unique_ptr<TBaseDataObject>> TModuleSerializer::UnserializeArray(
    const nlohmann::json& jsonArray) const {
  std::vector<std::unique_ptr<TBaseDataObject>> objects;
  for (const auto& element : jsonArray) objects.push_back(Unserialize(element));
  return objects;
}

std::vector<int32_t> TModuleSerializer::UnserializeIdArray(const nlohmann::json& jsonArray) {
  std::vector<int32_t> ids;
  if (jsonArray.is_null()) return ids;
  for (const auto& element : jsonArray) ids.push_back(text::StrToInt(ElementText(element)));
  return ids;
}

}  // namespace zo
