// Loading data objects: by identifier, by condition, and the nested-set tree query.
#include <fmt/printf.h>

#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/persistence/ZoServerUtils.h>

namespace zo {

std::unique_ptr<TBaseDataObject> GetDataObject(TDBXConnection& connection, int32_t id,
                                               TDataObjectClass cls, TDataObjectClass hostClass,
                                               const std::string& hostKeyName) {
  if (cls == nullptr) throw Exception("Método: getDataObject, erro: DataObjecClass nulo");
  auto object = cls->Create();
  TDataObjectInfoDB& info = *GetObjectInfoDB(cls, hostClass, hostKeyName);
  const auto reader = GetReader(connection, info.GenerateSelectCode(id));
  TDBXReader& row = reader->Reader();
  if (!row.Next()) {
    throw Exception(
        fmt::sprintf("Objeto inexistente no repositório. ID: %d. Classe: %s", id, cls->Name()));
  }
  ReaderToObject(connection, row, info, *object, true);
  const std::string keyColumn = hostClass == nullptr ? info.GetKeyName() : info.HostKeyName();
  object->SetCodigo(row.GetInt32(row.GetOrdinal(keyColumn)));
  return object;
}

std::vector<std::unique_ptr<TBaseDataObject>> GetDataObjectByCondition(
    TDBXConnection& connection, TDataObjectClass cls, const std::string& condition) {
  if (cls == nullptr) throw Exception("Método: getDataObject, erro: DataObjecClass nulo");
  std::string where = ParseCondition(*cls, condition);
  if (!where.empty()) where = "WHERE " + where;
  const auto reader = GetReader(connection, fmt::sprintf("select %s from %s %s", cls->GetIdName(),
                                                         cls->GetTableName(), where));
  std::vector<std::unique_ptr<TBaseDataObject>> objects;
  while (reader->Reader().Next()) {
    objects.push_back(GetDataObject(connection, reader->Reader().GetInt32(0), cls));
  }
  return objects;
}

std::unique_ptr<TZoReader> GetNestedTree(TDBXConnection& connection, TDataObjectClass cls,
                                         const std::string& condition) {
  if (text::Trim(condition).empty()) return nullptr;
  if (cls == nullptr) throw Exception("Parâmetro 'Atype' não pode ser nulo");
  const std::string where = ParseCondition(*cls, condition);
  // "lft" is the left bound of a nested-set node: ascending order walks the tree in pre-order.
  return GetReader(connection, fmt::sprintf("SELECT * from %s WHERE %s", cls->GetTableName(),
                                            where + " order by lft asc"));
}

}  // namespace zo
