#pragma once

#include <zo/Export.h>

#include <string>

#include <zo/core/BaseDataObject.h>

// The commands that drive the client's wait screen, sent through the client callback as JSON.
namespace zo {

class ZO_EXPORT TWaitScreenCommandTitle : public TBaseDataObject {
  ZO_DATA_CLASS(TWaitScreenCommandTitle, TBaseDataObject)
 public:
  TWaitScreenCommandTitle() = default;
  explicit TWaitScreenCommandTitle(std::string text) : Text(std::move(text)) {}
  std::string Text;
};

class ZO_EXPORT TWaitScreenCommandJob : public TBaseDataObject {
  ZO_DATA_CLASS(TWaitScreenCommandJob, TBaseDataObject)
 public:
  TWaitScreenCommandJob() = default;
  explicit TWaitScreenCommandJob(std::string text) : Text(std::move(text)) {}
  std::string Text;
};

class ZO_EXPORT TWaitScreenCommandGo : public TBaseDataObject {
  ZO_DATA_CLASS(TWaitScreenCommandGo, TBaseDataObject)
 public:
  int32_t Position = 0;
};

// Kinds of log lines passed to the module's logging hook.
enum class TTipoLogger : int { tlExclusao = 0, tlAlteracao = 1, tlInclusao = 2, tlConsulta = 3 };

}  // namespace zo
