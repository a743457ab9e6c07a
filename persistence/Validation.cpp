// What an object must satisfy before it is written: its class rules, and unique columns whose
// value no other row holds.
#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/core/DataObjectList.h>
#include <zo/core/Exceptions.h>
#include <zo/persistence/ZoServerUtils.h>
#include "persistence/PersistenceDetail.h"

namespace zo {
namespace {

// An empty text in a unique column is written as NULL (see PropValueToStr), which never
// collides with another row.
bool StoredAsNull(const TRttiProperty* prop, const TValue& value) {
  return value.IsEmpty() ||
         ((prop->Type().IsString() || prop->Type().IsChar()) && value.AsString().empty());
}

void ValidateOne(TDBXConnection& connection, TBaseDataObject& object) {
  TDataObjectInfoDB& info = *GetObjectInfoDB(object.ClassType());
  info.Validate(object);
  if (const TRttiProperty* duplicated = detail::FindDuplicatedProperty(connection, info, object)) {
    throw Exception(detail::DuplicateValueMessage(object, duplicated));
  }
  // The insert writes the items of the object's lists too, so they are checked as well.
  for (const TRttiProperty* listProperty : info.ListProperties()) {
    auto* list = dynamic_cast<TDataObjectList*>(listProperty->GetObject(object));
    if (list == nullptr) continue;
    for (size_t i = 0; i < list->Count(); ++i) {
      if (TBaseDataObject* item = list->Item(i)) ValidateOne(connection, *item);
    }
  }
}

}  // namespace

namespace detail {

const TRttiProperty* FindDuplicatedProperty(TDBXConnection& connection,
                                            const TDataObjectInfoDB& info,
                                            const TBaseDataObject& object) {
  for (const TRttiProperty* prop : info.Properties()) {
    if (GetAttribSkill(prop) != TPropertySkill::psUnique || prop == info.KeyProperty()) continue;
    const TValue value = prop->GetValue(object);
    if (StoredAsNull(prop, value)) continue;
    const auto reader =
        GetReader(connection, fmt::sprintf("select first 1 1 from %s where %s = %s and %s <> %d",
                                           info.GetTableName(), PrefixedColumn(info, prop),
                                           TDataObjectInfo::ValueToStr(value), RowKeyName(info),
                                           object.GetCodigo()));
    if (reader->Reader().Next()) return prop;
  }
  return nullptr;
}

std::string DuplicateValueMessage(const TBaseDataObject& object, const TRttiProperty* prop) {
  return "O valor da propriedade \"" + prop->Name() + "\" da classe \"" + object.ClassName() +
         "\" já está em uso por outro objeto";
}

}  // namespace detail

void ValidateDataObject(TDBXConnection& connection, TBaseDataObject& object) {
  ValidateOne(connection, object);
}

}  // namespace zo
