#pragma once

#include <zo/Export.h>

#include <string>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Dates.h>

namespace zo {

// A login of the application (table USUARIOS, key ID).
class ZO_EXPORT TUser : public TBaseDataObject {
  ZO_DATA_CLASS(TUser, TBaseDataObject)
 public:
  std::string Login;
  std::string Nome;
};

// Base of data classes that record who inserted or changed them and when.
class ZO_EXPORT TUserObject : public TBaseDataObject {
  ZO_DATA_CLASS(TUserObject, TBaseDataObject)
 public:
  TForeignKey UserID;
  TDateTime DataHoraInclusao;
  TDateTime DataHoraAlteracao;
};

// Defines the core library's own classes (TUser, TUserObject, the wait-screen commands).
// Call once at start-up before defining application classes; later calls do nothing.
ZO_EXPORT void RegisterCoreClasses();

}  // namespace zo
