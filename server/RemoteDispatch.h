#pragma once

#include <map>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace zo {

class TZoCallback;
class TZoCustomServerModule;

// The module's built-in remote methods, by name: each handler reads the call's named
// parameters (RemoteParams.h) and calls the module's public method of that name. A table
// rather than a chain of name comparisons, so that the list of what clients can call is one
// piece of data, and a call finds its handler with one lookup instead of walking the chain.
// Built once, on first use, and never changed afterwards: every module on every thread reads
// it without a lock.
class TRemoteDispatcher {
 public:
  using THandler = nlohmann::json (*)(TZoCustomServerModule& module, const nlohmann::json& params,
                                      TZoCallback* callback);

  static const TRemoteDispatcher& BuiltIn();

  // The handler for `method`, or nullptr when no built-in method has that name.
  THandler Find(const std::string& method) const;

 private:
  TRemoteDispatcher();

  std::map<std::string, THandler> fHandlers;
};

}  // namespace zo
