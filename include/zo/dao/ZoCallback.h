#pragma once

#include <zo/Export.h>

#include <nlohmann/json_fwd.hpp>

namespace zo {

// The client-supplied callback through which a running call talks to its client: it sends a
// JSON value (a wait-screen command) and blocks until the client's JSON reply arrives. A
// reply of JSON true asks the server to stop the running operation.
class ZO_EXPORT TZoCallback {
 public:
  virtual ~TZoCallback() = default;
  virtual nlohmann::json Execute(const nlohmann::json& value) = 0;
};

}  // namespace zo
