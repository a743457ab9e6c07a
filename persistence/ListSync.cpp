// Writing aggregated lists: children inserted or updated with their reference set, stored
// children that left the list removed, and all list rows of an object deleted before it.
#include <map>

#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/core/DataObjectList.h>
#include <zo/core/Exceptions.h>
#include "persistence/PersistenceDetail.h"
#include <zo/persistence/ZoServerUtils.h>

namespace zo {
namespace {

TDataObjectList* ListOf(const TBaseDataObject& owner, const TRttiProperty* listProperty) {
  return dynamic_cast<TDataObjectList*>(listProperty->GetObject(owner));
}

TDataObjectClass RequireItemClass(const TRttiProperty* listProperty) {
  const TDataObjectClass itemClass = TDataObjectInfo::GetClassOfPropertyList(listProperty);
  if (itemClass == nullptr) {
    throw Exception("Classe não encontrada na lista : " + listProperty->Name());
  }
  return itemClass;
}

const TRttiProperty* ReferenceOf(const TBaseDataObject& owner, const TRttiProperty* listProperty,
                                 TDataObjectClass itemClass) {
  return FindMasterReference(itemClass, detail::ListMasterClass(listProperty, owner.ClassType()),
                             detail::ListReferenceName(listProperty));
}

[[noreturn]] void NoMasterReference(TDataObjectClass master, TDataObjectClass itemClass) {
  throw Exception("Não há referência para a classe mestre \"" + master->Name() +
                  "\" na classe agregada \"" + itemClass->Name() + "\"");
}

// The stored identifiers of the children referring to `ownerId` through `refColumn`.
std::vector<int32_t> StoredChildren(TDBXConnection& connection, const TDataObjectInfoDB& childInfo,
                                    const std::string& refColumn, int32_t ownerId) {
  const auto reader =
      GetReader(connection, fmt::sprintf("select %s from %s where %s = %d", childInfo.GetKeyName(),
                                         childInfo.GetTableName(), refColumn, ownerId));
  std::vector<int32_t> ids;
  while (reader->Reader().Next()) ids.push_back(reader->Reader().GetInt32(0));
  return ids;
}

}  // namespace

void ProcessAgregations(TDBXConnection& connection, TBaseDataObject& owner,
                        const TRttiProperty* listProperty, bool removeMissing) {
  const TDataObjectClass itemClass = RequireItemClass(listProperty);
  const TRttiProperty* ref = ReferenceOf(owner, listProperty, itemClass);
  if (TDataObjectList* list = ListOf(owner, listProperty)) {
    for (const auto& slot : *list) {
      TBaseDataObject* item = slot.get();
      if (item == nullptr) continue;
      if (ref == nullptr) NoMasterReference(owner.ClassType(), itemClass);
      ref->SetValue(*item, TValue(nullptr, int64_t{owner.GetCodigo()}));
      if (item->GetCodigo() >= 0) {
        UpdateDataObject(connection, item, nullptr, true, "");
      } else {
        InsertDataObject(connection, *item, true);
      }
    }
  }
  if (removeMissing) DeleteAgregations(connection, owner, listProperty);
}

void DeleteAgregations(TDBXConnection& connection, TBaseDataObject& owner,
                       const TRttiProperty* listProperty) {
  std::map<int32_t, const TBaseDataObject*> kept;
  if (const TDataObjectList* list = ListOf(owner, listProperty)) {
    for (const auto& item : *list) {
      if (item && item->GetCodigo() != -1) kept.emplace(item->GetCodigo(), item.get());
    }
  }
  const TDataObjectClass itemClass = RequireItemClass(listProperty);
  const TDataObjectInfoDB& childInfo = *GetObjectInfoDB(itemClass);
  const TRttiProperty* ref = ReferenceOf(owner, listProperty, itemClass);
  const std::string refColumn = ref ? GetAttribName(ref) : GetAttribName(listProperty);
  // In a tree of one class a node that leaves its parent is cut loose, not destroyed.
  const bool sameClassTree = itemClass == owner.ClassType();
  const std::string table = childInfo.GetTableName();
  const std::string key = childInfo.GetKeyName();
  for (const int32_t id : StoredChildren(connection, childInfo, refColumn, owner.GetCodigo())) {
    if (kept.contains(id)) continue;
    try {
      GetDataObject(connection, id, itemClass);  // loaded and dropped; failures do not matter
    } catch (const std::exception&) {
    }
    ExecuteSqlCmd(connection, sameClassTree
                                  ? fmt::sprintf("update %s set %s = null where %s = %d", table,
                                                 refColumn, key, id)
                                  : fmt::sprintf("delete from %s where %s = %d", table, key, id));
  }
}

void DeleteAggregatedRows(TDBXConnection& connection, int32_t id, TDataObjectClass cls) {
  const std::vector<const TRttiProperty*> lists = GetObjectInfoDB(cls)->ListProperties();
  if (lists.empty()) return;
  const auto stored = GetDataObject(connection, id, cls);
  for (const TRttiProperty* listProperty : lists) {
    const TDataObjectClass itemClass =
        TDataObjectInfo::GetClassOfList(ListOf(*stored, listProperty));
    const TRttiProperty* ref =
        FindMasterReference(itemClass, cls, detail::ListReferenceName(listProperty));
    if (ref == nullptr) NoMasterReference(cls, itemClass);
    // One statement a list: grandchildren are not visited.
    ExecuteSqlCmd(connection,
                  fmt::sprintf("delete from %s where %s = %d",
                               GetObjectInfoDB(itemClass)->GetTableName(), GetAttribName(ref), id));
  }
}

}  // namespace zo
