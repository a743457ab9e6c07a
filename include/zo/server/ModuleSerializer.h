#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <memory>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <zo/core/BaseDataObject.h>

namespace zo {

class TJSONMarshal;
class TJSONUnMarshal;

// Data objects to and from the JSON a client sends and receives, and identifier arrays.
class ZO_EXPORT TModuleSerializer {
 public:
  TModuleSerializer();
  ~TModuleSerializer();
  TModuleSerializer(const TModuleSerializer&) = delete;
  TModuleSerializer& operator=(const TModuleSerializer&) = delete;

  // JSON null for no object.
  nlohmann::json Serialize(const TBaseDataObject* obj) const;
  nlohmann::json SerializeArray(std::vector<std::unique_ptr<TBaseDataObject>> objects) const;
  static nlohmann::json SerializeIdArray(const std::vector<int32_t>& ids);
  std::unique_ptr<TBaseDataObject> Unserialize(const nlohmann::json& json) const;
  std::vector<std::unique_ptr<TBaseDataObject>> UnserializeArray(
      const nlohmann::json& jsonArray) const;
  // Elements as numbers or numeric texts; JSON null is no identifiers.
  static std::vector<int32_t> UnserializeIdArray(const nlohmann::json& jsonArray);

 private:
  std::unique_ptr<TJSONMarshal> FMarshal;
  std::unique_ptr<TJSONUnMarshal> FUnMarshal;
};

}  // namespace zo
