// Reading aggregated lists: the children that refer back to their master, with one statement
// per list.
#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/core/DataObjectList.h>
#include <zo/core/Exceptions.h>
#include "persistence/PersistenceDetail.h"
#include "persistence/RowReading.h"
#include <zo/persistence/ZoServerUtils.h>

namespace zo {
namespace {

// List properties are owning members, so there is always a list to append to.
TDataObjectList& ListOf(TBaseDataObject& object, const TRttiProperty* listProperty) {
  auto* list = dynamic_cast<TDataObjectList*>(listProperty->GetObject(object));
  if (list == nullptr) {
    throw Exception("A propriedade \"" + listProperty->Name() + "\" da classe \"" +
                    object.ClassName() + "\" não guarda uma lista");
  }
  return *list;
}

// The items, read with one statement by the master's key and filled from their rows in the
// order the database returns them (no ORDER BY). Their composed members come after the
// statement, with one statement per class and level; their own lists last, item by item.
std::vector<std::unique_ptr<TBaseDataObject>> ReadItems(TDBXConnection& connection,
                                                        TDataObjectInfoDB& info,
                                                        const TRttiProperty* ref,
                                                        int32_t masterId) {
  const TDataObjectClass itemClass = info.DataClass();
  const detail::TRowRead read = detail::RowReadOf(info);
  std::vector<std::unique_ptr<TBaseDataObject>> items;
  std::vector<detail::TPendingMember> pending;
  {
    const auto reader =
        GetReader(connection, fmt::sprintf("select %s from %s where %s = %d", read.columns,
                                           info.GetTableName(), GetAttribName(ref), masterId));
    TDBXReader& row = reader->Reader();
    const std::string key = info.GetKeyName();
    int keyOrdinal = -1;
    while (row.Next()) {
      auto item = itemClass->Create();
      detail::ReadRowInto(connection, row, info, *item, read.hostedInRow, &pending);
      if (keyOrdinal < 0) keyOrdinal = row.GetOrdinal(key);
      item->SetCodigo(row.GetInt32(keyOrdinal));
      items.push_back(std::move(item));
    }
  }
  detail::LoadPendingMembers(connection, pending);
  for (const auto& item : items) detail::LoadLists(connection, info, *item, true);
  return items;
}

}  // namespace

void LoadAggregatedList(TDBXConnection& connection, TBaseDataObject& object,
                        const TRttiProperty* listProperty) {
  TDataObjectList& list = ListOf(object, listProperty);
  if (FirstAnnotation(listProperty) == nullptr) {
    // Without an annotation there is no reference to follow.
    throw Exception("Falta referência para a classe Host no atributo da propriedade \"" +
                    listProperty->Name() + "\" da classe \"" + object.ClassName() + "\"");
  }
  const std::string referenceName = detail::ListReferenceName(listProperty);
  const TDataObjectClass itemClass = TDataObjectInfo::GetClassOfPropertyList(listProperty);
  TDataObjectInfoDB& childInfo = *GetObjectInfoDB(itemClass);
  const TDataObjectClass master = detail::ListMasterClass(listProperty, object.ClassType());
  const TRttiProperty* ref = FindMasterReference(itemClass, master, referenceName);
  if (ref == nullptr) {
    throw Exception("Não há referência para a classe mestre \"" + object.ClassName() +
                    "\" na classe agregada \"" + itemClass->Name() + "\"");
  }
  for (auto& child : ReadItems(connection, childInfo, ref, object.GetCodigo())) {
    child->SetParent(&object);
    list.Add(std::move(child));
  }
}

const TRttiProperty* FindMasterReference(TDataObjectClass itemClass, TDataObjectClass masterClass,
                                         const std::string& referenceName) {
  // A class merged into its parent's table is referred to as that parent.
  const TDataObjectClass target =
      GetObjectInfoDB(masterClass)->TableMerged() ? masterClass->Parent() : masterClass;
  for (const TRttiProperty* prop : itemClass->Properties()) {
    const Annotation* a = FirstAnnotation(prop);
    if (a == nullptr) continue;
    const TDataObjectClass host = a->GetHostClass();
    if (host == target && (referenceName.empty() || a->GetName() == referenceName)) return prop;
    if (host != nullptr && host != target && target->InheritsFrom(host)) return prop;
  }
  return nullptr;
}

}  // namespace zo
