// GetSchema: the tables of the customer's live database as its catalog describes them, for
// clients that show the schema. Read-only.
#include <string>

#include <nlohmann/json.hpp>

#include <zo/core/Exceptions.h>
#include <zo/dbstruct/DBStructClasses.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/schema/CatalogReader.h>
#include <zo/server/CustomServerModule.h>

namespace zo {
namespace {

std::string TypeName(const TColumnStruct& column) {
  switch (column.TypeData()) {
    case TDBRType::dbsChar:
      return "CHAR";
    case TDBRType::dbsString:
      return "VARCHAR(" + std::to_string(column.Size()) + ")";
    case TDBRType::dbsFloat:
      return "DOUBLE PRECISION";
    case TDBRType::dbsInteger:
      return "INTEGER";
    case TDBRType::dbsEnum:
      return "SMALLINT";
    case TDBRType::dbsDate:
      return "DATE";
    case TDBRType::dbsDateTime:
      return "TIMESTAMP";
    case TDBRType::dbsTime:
      return "TIME";
    case TDBRType::dbsTextBlob:
      return "BLOB SUB_TYPE TEXT";
    case TDBRType::dbsBinBlob:
      return "BLOB";
  }
  return "?";
}

nlohmann::json DescribeTable(const TTableStruct& table) {
  nlohmann::json columns = nlohmann::json::array();
  for (const auto& column : table.Columns()) {
    columns.push_back({{"name", column->Name()},
                       {"type", TypeName(*column)},
                       {"size", column->Size()},
                       {"required", column->Required()}});
  }
  nlohmann::json foreignKeys = nlohmann::json::array();
  for (const auto& key : table.ForeignKeys()) {
    foreignKeys.push_back({{"name", key->Name()},
                           {"column", key->KeyName()},
                           {"refTable", key->RefTableName()},
                           {"refColumn", key->RefKeyName()}});
  }
  nlohmann::json uniques = nlohmann::json::array();
  for (const auto& unique : table.Uniques()) {
    uniques.push_back({{"name", unique->Name()}, {"column", unique->KeyName()}});
  }
  nlohmann::json indices = nlohmann::json::array();
  for (const auto& index : table.Indices()) {
    indices.push_back({{"name", index->Name()}, {"column", index->Column()}});
  }
  const TDBSPrimaryKey* primary = table.PrimaryKey();
  return {{"name", table.Name()},
          {"columns", std::move(columns)},
          {"primaryKey",
           primary == nullptr || primary->KeyName().empty()
               ? nlohmann::json(nullptr)
               : nlohmann::json{{"name", primary->Name()}, {"column", primary->KeyName()}}},
          {"foreignKeys", std::move(foreignKeys)},
          {"uniques", std::move(uniques)},
          {"indices", std::move(indices)},
          {"hasGenerator", table.HasGenerator()}};
}

}  // namespace

nlohmann::json TZoCustomServerModule::GetSchema() {
  Demand({"GetSchema", TAccessKind::akRead, nullptr, {}, {}});
  if (SQLConnection() == nullptr || !SQLConnection()->Connected()) {
    throw Exception("Sem conexão com o banco de dados");
  }
  const auto model = ReadDatabaseStruct(SQLConnection()->DBXConnection(), nullptr);
  nlohmann::json tables = nlohmann::json::array();
  for (const auto& table : model->NormalTables()) tables.push_back(DescribeTable(*table));
  return {{"database", GetCurrentDataBase()}, {"tables", std::move(tables)}};
}

}  // namespace zo
