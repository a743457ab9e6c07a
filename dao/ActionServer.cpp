#include <zo/dao/ActionServer.h>

#include <fmt/printf.h>

#include <zo/core/Exceptions.h>
#include <zo/dao/WaitScreen.h>
#include <zo/persistence/ZoServerUtils.h>
#include <zo/platform/db/SQLConnection.h>

namespace zo {

TActionServer::TActionServer() : FActionProgress(std::make_unique<TServerActionProgressWzd>()) {
  const auto onProgress = [this](TServerActionProgressWzd& sender) { DoOnProgress(sender); };
  FActionProgress->OnProgress = onProgress;
  FActionProgress->OnTitle = onProgress;
  FActionProgress->OnSubTitle = onProgress;
}

TActionServer::~TActionServer() {
  FActionProgress.reset();
  ClearCache();
}

int32_t TActionServer::Execute() {
  CheckAccess();
  OnBeforeExecuteAction();
  FActionProgress->Reset();
  ClearCache();
  const int32_t result = ExecuteAction();
  OnAfterExecuteAction();
  return result;
}

void TActionServer::AdvanceProgress() { FActionProgress->Next(); }

void TActionServer::DoOnProgress(TServerActionProgressWzd& sender) {
  GoWaitPos(FCallBack, sender.GetPosition());
  if (!sender.Title().empty()) SetWaitTitle(FCallBack, sender.Title());
  SetWaitSubTitle(FCallBack, sender.SubTitle());
}

TBaseDataObject* TActionServer::GetObject(TDataObjectClass cls, int32_t id) {
  if (id == -1) return nullptr;
  const std::string key = fmt::sprintf("%s:%d", cls->Name(), id);
  if (const auto it = fCache.find(key); it != fCache.end()) return it->second.get();
  if (FSQLConnection == nullptr) throw Exception("Conexão não atribuída: TActionServer");
  auto object = GetDataObject(FSQLConnection->DBXConnection(), id, cls, nullptr, "");
  if (!object) return nullptr;
  return fCache.emplace(key, std::move(object)).first->second.get();
}

void TActionServer::ClearCache() { fCache.clear(); }

std::string TActionServer::GeSQLStatement(THandle instance, const std::string& name) {
  return LoadTextResource(instance, name);
}

}  // namespace zo
