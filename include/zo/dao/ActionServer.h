#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include <zo/core/BaseDataObject.h>
#include <zo/core/TextResources.h>
#include <zo/core/User.h>
#include <zo/dao/ServerActionProgress.h>

namespace zo {

class TSQLConnection;
class TZoCallback;

// Base of long-running server actions: a template method with an access check, before and
// after hooks, a progress reporter wired to the client's wait screen, a cache of the objects
// it reads, and access to SQL text kept in text resources. Applications derive concrete
// actions and implement ExecuteAction.
class ZO_EXPORT TActionServer {
 public:
  TActionServer();
  TActionServer(const TActionServer&) = delete;
  TActionServer& operator=(const TActionServer&) = delete;
  virtual ~TActionServer();

  // CheckAccess, OnBeforeExecuteAction, progress reset, cache cleared, ExecuteAction,
  // OnAfterExecuteAction. An exception from any step ends it at once.
  int32_t Execute();
  void AdvanceProgress();

  virtual void CheckAccess() {}
  virtual void SetSQLConnection(TSQLConnection* connection) { FSQLConnection = connection; }
  virtual void OnBeforeExecuteAction() {}
  virtual void OnAfterExecuteAction() {}

  // The object of that class and identifier, read once per execution and kept in the cache
  // (the action owns it; callers must not keep it past the next Execute). -1 gives nullptr.
  TBaseDataObject* GetObject(TDataObjectClass cls, int32_t id);
  void ClearCache();
  // The "TEXT" resource `name` of the module `instance`; raises when it is missing.
  static std::string GeSQLStatement(THandle instance, const std::string& name);

  TServerActionProgressWzd& ActionProgress() { return *FActionProgress; }
  const std::string& Param() const { return fParam; }
  void SetParam(std::string param) { fParam = std::move(param); }
  TZoCallback* Callback() const { return FCallBack; }
  void SetCallback(TZoCallback* callback) { FCallBack = callback; }
  TSQLConnection* SQLConnection() const { return FSQLConnection; }
  TUser* User() const { return fUser; }
  void SetUser(TUser* user) { fUser = user; }

 protected:
  virtual int32_t ExecuteAction() = 0;
  // Sends the position, the title (when set) and the subtitle to the client's wait screen.
  void DoOnProgress(TServerActionProgressWzd& sender);

 private:
  std::map<std::string, std::unique_ptr<TBaseDataObject>> fCache;
  std::unique_ptr<TServerActionProgressWzd> FActionProgress;
  std::string fParam;  // the action's parameter, as the client sent it (JSON text)
  TZoCallback* FCallBack = nullptr;
  TSQLConnection* FSQLConnection = nullptr;
  TUser* fUser = nullptr;
};

// Creates actions of one concrete class.
using TActionServerClass = std::function<std::unique_ptr<TActionServer>()>;

}  // namespace zo
