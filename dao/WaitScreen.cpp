#include <zo/dao/WaitScreen.h>

#include <nlohmann/json.hpp>

#include <zo/core/Exceptions.h>
#include <zo/core/WaitScreen.h>
#include <zo/dao/ZoCallback.h>
#include <zo/platform/json/JSONMarshal.h>

namespace zo {
namespace {

void Send(TZoCallback* callback, const TBaseDataObject& command) {
  if (callback == nullptr) return;
  const TJSONMarshal marshal;
  const nlohmann::json reply = callback->Execute(marshal.Marshal(command));
  if (reply.is_boolean() && reply.get<bool>()) throw EAbort();
}

}  // namespace

void SetWaitTitle(TZoCallback* callback, const std::string& text) {
  Send(callback, TWaitScreenCommandTitle(text));
}

void SetWaitSubTitle(TZoCallback* callback, const std::string& text) {
  Send(callback, TWaitScreenCommandJob(text));
}

void GoWaitPos(TZoCallback* callback, int position) {
  TWaitScreenCommandGo command;
  command.Position = position;
  Send(callback, command);
}

}  // namespace zo
