#pragma once

#include <zo/Export.h>

#include <map>
#include <string>
#include <vector>

#include <zo/core/BaseDataObject.h>

namespace zo {

class TGenericDAO;

// Which data classes a module serves, by name, and which DAO serves each. The DAOs are not
// owned: whoever binds one keeps it alive.
class ZO_EXPORT TClassDAORegistry {
 public:
  // Binds `cls` to `dao`; a class already bound keeps its first DAO.
  void Link(TDataObjectClass cls, TGenericDAO* dao);
  // Unbinds `cls` (its name stays known); false when it was not bound.
  bool UnLink(TDataObjectClass cls);
  void Clear();

  // The class registered under `name`; raises "Classe não registrada" when there is none.
  TDataObjectClass Class(const std::string& name) const;
  // The class registered under `name`, or nullptr.
  TDataObjectClass FindClass(const std::string& name) const;
  // The DAO bound to `cls`; raises when there is none.
  TGenericDAO* DAO(TDataObjectClass cls) const;

  // The registered classes by name, in name order.
  const std::map<std::string, TDataObjectClass>& Classes() const { return FClassByName; }
  // `first` (when not null), then every bound DAO once, in that order.
  std::vector<TGenericDAO*> DistinctDAOs(TGenericDAO* first) const;

 private:
  std::map<std::string, TDataObjectClass> FClassByName;
  std::map<TDataObjectClass, TGenericDAO*> FDAOByClass;
};

}  // namespace zo
