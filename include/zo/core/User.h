#pragma once

#include <string>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Dates.h>

namespace zo {

// A login of the application (table USUARIOS, key ID).
class TUser : public TBaseDataObject {
  ZO_DATA_CLASS(TUser, TBaseDataObject)
 public:
  std::string Login;
  std::string Nome;
};

// Base of data classes that record who inserted or changed them and when.
class TUserObject : public TBaseDataObject {
  ZO_DATA_CLASS(TUserObject, TBaseDataObject)
 public:
  TForeignKey UserID;
  TDateTime DataHoraInclusao;
  TDateTime DataHoraAlteracao;
};

// Defines the core library's own classes (TUser, TUserObject, the wait-screen commands).
// Call once at start-up before defining application classes; later calls do nothing.
void RegisterCoreClasses();

}  // namespace zo
