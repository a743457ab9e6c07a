// Single values: row counts, new identifiers, one column of one row.
#include <fmt/printf.h>

#include <zo/core/Exceptions.h>
#include <zo/persistence/ZoServerUtils.h>
#include <zo/platform/db/DataTypes.h>
#include "persistence/PersistenceDetail.h"

namespace zo {
namespace {

// The first column of the current row, by its data type. Types beyond text, Booleans and
// small integers are accepted too (see TVariant); anything else is refused.
TVariant ColumnValue(const TDBXReader& reader) {
  using T = TDBXDataTypes;
  const int type = reader.GetColumnType(0);
  const bool textBlob =
      type == T::BlobType && reader.GetColumnSubType(0) == TDBXSubDataTypes::MemoSubType;
  const bool known = type == T::AnsiStringType || type == T::WideStringType || textBlob ||
                     type == T::BooleanType || type == T::Int16Type || type == T::Int32Type ||
                     type == T::Int64Type || type == T::DoubleType || type == T::SingleType ||
                     type == T::BcdType || type == T::DateType || type == T::TimeType ||
                     type == T::TimeStampType;
  if (!known) throw Exception("Tipo não reconhecido");
  if (reader.IsNull(0)) return {};
  switch (type) {
    case T::BooleanType:
      return reader.GetBoolean(0);
    case T::Int16Type:
    case T::Int32Type:
      return reader.GetInt32(0);
    case T::Int64Type:
      return reader.GetInt64(0);
    case T::DoubleType:
    case T::SingleType:
    case T::BcdType:
      return reader.GetDouble(0);
    case T::DateType:
    case T::TimeType:
    case T::TimeStampType:
      return reader.GetDateTime(0);
    default:
      return reader.GetString(0);
  }
}

TVariant FirstValue(TDBXConnection& connection, const std::string& sql) {
  const auto reader = GetReader(connection, sql);
  if (!reader->Reader().Next()) return {};
  return ColumnValue(reader->Reader());
}

}  // namespace

int32_t GetCount(TDBXConnection& connection, TDataObjectClass cls, const std::string& condition) {
  if (cls == nullptr) throw Exception("Parâmetro 'Atype' não pode ser nulo");
  std::string where = ParseCondition(cls, condition);
  if (!where.empty()) where = " WHERE " + where;
  const auto reader =
      GetReader(connection, fmt::sprintf("select count(*) from %s %s", cls->GetTableName(), where));
  reader->Reader().Next();
  return reader->Reader().GetInt32(0);
}

int32_t Novocodigo(TDBXConnection& connection, const std::string& table) {
  try {
    const auto reader = GetReader(
        connection,
        fmt::sprintf("execute block returns (Result integer) as begin Result = gen_id(GEN_%s, 1); "
                     "suspend; end;",
                     table));
    TDBXReader& row = reader->Reader();
    if (!row.Next() || row.IsNull(0)) return 1;
    return row.GetInt32(0);
  } catch (const std::exception& e) {
    // A carriage return alone, as the message has always been written.
    throw Exception(std::string("Impossível novo código\r") + e.what());
  }
}

namespace detail {

int32_t DrawKey(TDBXConnection& connection, const std::string& table) {
  try {
    const auto reader =
        GetReader(connection, fmt::sprintf("select gen_id(GEN_%s, 1) from rdb$database", table));
    TDBXReader& row = reader->Reader();
    if (!row.Next() || row.IsNull(0)) return 1;
    return row.GetInt32(0);  // past 32 bits it throws: Novocodigo overflows too, and says so
  } catch (const std::exception&) {
    // Without a generator nothing was drawn: Novocodigo's own attempt fails in its words.
  }
  return Novocodigo(connection, table);
}

}  // namespace detail

TVariant GetValueFromField(TDBXConnection& connection, int32_t id, const std::string& table,
                           const std::string& column) {
  const std::string key = GetPrimaryKey(connection, table);
  return FirstValue(connection,
                    fmt::sprintf("select %s from %s where %s = %d", column, table, key, id));
}

void GetValueFromField2(TDBXConnection& connection, int32_t id, const std::string& table,
                        const std::string& column, TVariant& value) {
  value = GetValueFromField(connection, id, table, column);
}

TVariant GetValueFromFieldByCondition(TDBXConnection& connection, const std::string& table,
                                      const std::string& column, const std::string& condition) {
  return FirstValue(connection,
                    fmt::sprintf("select %s from %s where %s ", column, table, condition));
}

}  // namespace zo
