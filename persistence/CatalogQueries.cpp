// Questions to the Firebird system catalog: tables, columns, keys and other objects.
#include <fmt/printf.h>

#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/persistence/Catalog.h>
#include <zo/persistence/Transactions.h>

namespace zo {
namespace {

bool ReturnsARow(TDBXConnection& connection, const std::string& sql) {
  const auto reader = GetReader(connection, sql);
  return reader->Reader().Next();
}

bool CountsMoreThanZero(TDBXConnection& connection, const std::string& sql) {
  const auto reader = GetReader(connection, sql);
  return reader->Reader().Next() && reader->Reader().GetInt64(0) > 0;
}

std::string QuotedStr(const std::string& s) { return "'" + text::ReplaceAll(s, "'", "''") + "'"; }

}  // namespace

bool TableExists(TDBXConnection& connection, const std::string& name) {
  return CountsMoreThanZero(
      connection, fmt::sprintf("SELECT COUNT(RDB$RELATION_NAME) FROM RDB$RELATIONS WHERE "
                               "RDB$SYSTEM_FLAG=0 and upper(RDB$RELATION_NAME) = upper('%s')",
                               name));
}

bool StoredProcedureExists(TDBXConnection& connection, const std::string& name) {
  return ReturnsARow(
      connection,
      fmt::sprintf("select rdb$procedure_name from rdb$procedures where rdb$procedure_name = '%s'",
                   text::UpperCase(name)));
}

bool UDFMethodExists(TDBXConnection& connection, const std::string& name) {
  return ReturnsARow(
      connection,
      fmt::sprintf("select rdb$function_name from RDB$FUNCTIONS where rdb$function_name = '%s'",
                   name));
}

bool TriggerExists(TDBXConnection& connection, const std::string& name) {
  return ReturnsARow(
      connection,
      fmt::sprintf("select rdb$trigger_name from rdb$triggers where rdb$trigger_name = '%s'",
                   name));
}

bool IndexExists(TDBXConnection& connection, const std::string& name) {
  return ReturnsARow(
      connection,
      fmt::sprintf("SELECT RDB$INDEX_NAME FROM RDB$INDICES WHERE RDB$INDEX_NAME='%s'", name));
}

bool GeneratorExists(TDBXConnection& connection, const std::string& name) {
  return ReturnsARow(
      connection,
      fmt::sprintf("select rdb$generator_name from rdb$generators where rdb$generator_name = '%s'",
                   name));
}

bool ColumnExists(TDBXConnection& connection, const std::string& table, const std::string& column) {
  return CountsMoreThanZero(
      connection,
      fmt::sprintf("SELECT count(RDB$RELATION_FIELDS.RDB$FIELD_NAME)FROM RDB$RELATION_FIELDS "
                   "WHERE RDB$RELATION_FIELDS.RDB$RELATION_NAME = UPPER('%s') and "
                   "RDB$RELATION_FIELDS.RDB$FIELD_NAME = UPPER('%s')",
                   table, column));
}

void CheckTableExist(TDBXConnection& connection, const std::string& table) {
  if (!TableExists(connection, table)) throw Exception("Tabela inexistente: " + table);
}

std::string GetPrimaryKey(TDBXConnection& connection, const std::string& table) {
  CheckTableExist(connection, table);
  const std::string sql = text::JoinLines({
      "SELECT RDB$FIELD_NAME",
      "FROM",
      "  RDB$RELATION_CONSTRAINTS C,",
      "  RDB$INDEX_SEGMENTS S",
      "WHERE",
      "  C.RDB$RELATION_NAME = " + QuotedStr(text::UpperCase(table)) + " AND",
      "  C.RDB$CONSTRAINT_TYPE = 'PRIMARY KEY' AND",
      "  S.RDB$INDEX_NAME = C.RDB$INDEX_NAME",
      "ORDER BY RDB$FIELD_POSITION",
  });
  const auto reader = GetReader(connection, sql);
  std::string columns;
  while (reader->Reader().Next()) {
    if (!columns.empty()) columns += ",";
    columns += text::Trim(reader->Reader().GetString(0));
  }
  return columns;
}

int32_t GetFieldLength(TDBXConnection& connection, const std::string& table,
                       const std::string& column) {
  const std::string sql = text::JoinLines({
      "SELECT  f.RDB$FIELD_LENGTH",
      "FROM RDB$RELATION_FIELDS r",
      "LEFT JOIN RDB$FIELDS f ON r.RDB$FIELD_SOURCE = f.RDB$FIELD_NAME",
      fmt::sprintf("WHERE r.RDB$RELATION_NAME='%s' AND r.RDB$FIELD_NAME = '%s'", table, column),
  });
  const auto reader = GetReader(connection, sql);
  return reader->Reader().Next() ? reader->Reader().GetInt32(0) : 0;
}

}  // namespace zo
