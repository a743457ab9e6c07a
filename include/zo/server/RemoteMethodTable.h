#pragma once

#include <zo/Export.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zo {

class TZoCallback;

// The remote methods an application adds to its module, by name. The module's dispatch looks
// here before its built-in methods.
class ZO_EXPORT TRemoteMethodTable {
 public:
  using TRemoteMethod =
      std::function<nlohmann::json(const nlohmann::json& params, TZoCallback* callback)>;

  // Adds or replaces `name`.
  void Register(const std::string& name, TRemoteMethod method);
  // The method registered under `name`, or nullptr.
  const TRemoteMethod* Find(const std::string& name) const;
  // The registered names, in name order.
  std::vector<std::string> Names() const;

 private:
  std::map<std::string, TRemoteMethod> FMethods;
};

}  // namespace zo
