#include <zo/dao/GenericDAO.h>

#include <type_traits>
#include <utility>

#include <fmt/printf.h>

#include <zo/core/Dates.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/dao/WaitScreen.h>
#include <zo/mapping/ObjectInfoCache.h>
#include <zo/mapping/ZoReader.h>
#include <zo/persistence/ZoServerUtils.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>
#include <zo/platform/db/DBXTransaction.h>
#include <zo/platform/db/DatabaseError.h>
#include <zo/platform/db/SQLConnection.h>

namespace zo {
namespace {

// A database failure is judged by its codes; any other exception (an application's own, say)
// has only its text, and the engine's phrase in it still means a referenced row.
bool IsForeignKeyViolation(const std::exception& e) {
  if (const auto* failure = dynamic_cast<const EDatabaseError*>(&e)) {
    return failure->Category() == DatabaseErrorCategory::ForeignKeyViolation;
  }
  return text::ContainsText(e.what(), "violation of foreign key constraint");
}

// A delimited list as the platform's string lists read it: items separated by commas or
// blanks, double quotes grouping an item that holds either.
std::vector<std::string> SplitDelimited(const std::string& s) {
  std::vector<std::string> items;
  std::string current;
  bool quoted = false;
  bool pending = false;
  for (const char c : s) {
    if (c == '"') {
      quoted = !quoted;
      pending = true;
    } else if (!quoted && (c == ',' || static_cast<unsigned char>(c) <= ' ')) {
      if (pending || !current.empty()) items.push_back(current);
      current.clear();
      pending = false;
    } else {
      current += c;
    }
  }
  if (pending || !current.empty()) items.push_back(current);
  return items;
}

}  // namespace

TGenericDAO::TGenericDAO(TSQLConnection* connection) : fSQLConnection(connection) {}

TGenericDAO::~TGenericDAO() = default;

TDBXConnection& TGenericDAO::GetConnection() const {
  if (fSQLConnection == nullptr) throw Exception("Conexão não atribuída: " + ClassName());
  return fSQLConnection->DBXConnection();
}

std::unique_ptr<TDBXTransaction> TGenericDAO::StartTransaction() {
  return zo::StartTransaction(GetConnection());
}

void TGenericDAO::Commit(std::unique_ptr<TDBXTransaction>& tx) {
  CommitTransaction(GetConnection(), tx);
}

void TGenericDAO::RollBack(std::unique_ptr<TDBXTransaction>& tx) {
  if (tx) RollbackTransaction(GetConnection(), tx);
}

template <class Work>
auto TGenericDAO::InTransaction(Work work) {
  auto tx = StartTransaction();
  try {
    if constexpr (std::is_void_v<decltype(work())>) {
      work();
      Commit(tx);
    } else {
      auto result = work();
      Commit(tx);
      return result;
    }
  } catch (...) {
    try {
      RollBack(tx);
    } catch (...) {
      // The original failure is the one the caller must see.
    }
    throw;
  }
}

void TGenericDAO::SetWaitTitle(const std::string& text) { zo::SetWaitTitle(FCallBack, text); }
void TGenericDAO::SetWaitCount(int count) { zo::SetWaitCount(FCallBack, count); }
void TGenericDAO::GoWaitPos(int position) { zo::GoWaitPos(FCallBack, position); }

TDateTime TGenericDAO::StampTime() const {
  return fStampTime.value != 0 ? fStampTime : TDateTime::Now();
}

void TGenericDAO::InsertObjectUser(TBaseDataObject& obj) {
  auto* userObject = dynamic_cast<TUserObject*>(&obj);
  if (userObject == nullptr || FUser == nullptr) return;
  userObject->UserID = FUser->GetCodigo();
  userObject->DataHoraInclusao = StampTime();
}

void TGenericDAO::UpdateObjectUser(TBaseDataObject& obj) {
  auto* userObject = dynamic_cast<TUserObject*>(&obj);
  if (userObject == nullptr || FUser == nullptr) return;
  userObject->UserID = FUser->GetCodigo();
  userObject->DataHoraAlteracao = StampTime();
}

int32_t TGenericDAO::Insert(TBaseDataObject& obj) {
  // One clock reading for both stamps: an inserted object's two times are equal.
  fStampTime = TDateTime::Now();
  struct ResetStamp {
    TDateTime& stamp;
    ~ResetStamp() { stamp = TDateTime(); }
  } resetStamp{fStampTime};
  return InTransaction([&] {
    InsertObjectUser(obj);
    UpdateObjectUser(obj);
    return InsertDataObject(GetConnection(), obj, true);
  });
}

std::unique_ptr<TBaseDataObject> TGenericDAO::Get(int32_t id, TDataObjectClass cls) {
  return GetDataObject(GetConnection(), id, cls, nullptr, "");
}

void TGenericDAO::Update(TBaseDataObject& obj) {
  InTransaction([&] {
    UpdateObjectUser(obj);
    UpdateDataObject(GetConnection(), &obj, nullptr, true, "");
  });
}

void TGenericDAO::Delete(int32_t id, TDataObjectClass cls) {
  SetWaitTitle("Excluindo...");
  SetWaitCount(-1);
  GoWaitPos(0);
  try {
    InTransaction([&] { DeleteDataObject(GetConnection(), id, cls); });
  } catch (const std::exception& e) {
    if (IsForeignKeyViolation(e)) {
      throw Exception("O registro está associado a outro registro. Não é possível sua exclusão");
    }
    throw;
  }
}

std::vector<std::unique_ptr<TBaseDataObject>> TGenericDAO::GetByCondition(
    TDataObjectClass cls, const std::string& condition) {
  return GetDataObjectByCondition(GetConnection(), cls, condition);
}

int32_t TGenericDAO::GetCount(TDataObjectClass cls, const std::string& condition) {
  return zo::GetCount(GetConnection(), cls, condition);
}

bool TGenericDAO::DeleteInSavepoint(int32_t id, TDataObjectClass cls) {
  // A record's list rows go before the record: the savepoint gives them back when the record
  // itself is refused, instead of the commit of the others making their loss final.
  auto savepoint = StartTransaction();
  try {
    DeleteDataObject(GetConnection(), id, cls);
    Commit(savepoint);
    return true;
  } catch (const std::exception& e) {
    // Any other failure ends the whole call: the savepoint goes back with the transaction.
    if (!IsForeignKeyViolation(e)) throw;
  }
  RollBack(savepoint);
  return false;
}

void TGenericDAO::DeleteArray(const std::vector<int32_t>& ids, TDataObjectClass cls) {
  if (ids.empty()) return;
  SetWaitTitle("Excluindo...");
  const double step = 100.0 / static_cast<double>(ids.size());
  double accumulated = 0.0;
  // The wait screen starts at 0: only a new whole percent is worth a round trip, which keeps
  // the positions sent to at most 100 whatever the number of records.
  int previous = 0;
  int failed = 0;
  InTransaction([&] {
    for (const int32_t id : ids) {
      accumulated += step;
      const int position = static_cast<int>(accumulated);
      if (position != previous) GoWaitPos(position);
      previous = position;
      if (!DeleteInSavepoint(id, cls)) ++failed;
    }
  });
  const int count = static_cast<int>(ids.size());
  if (failed == count) {
    throw Exception(
        "Não é possível excluir. Os registros selecionados estão vinculados a outros registros");
  }
  if (failed > 0) {
    throw Exception(fmt::sprintf(
        "%d de %d registros não foram excluídos por estarem vinculados a outros registros", failed,
        count));
  }
}

std::string TGenericDAO::GetStrList(TDataObjectClass cls, const std::string& properties,
                                    const std::string& condition) {
  try {
    const auto names = SplitDelimited(properties);
    const std::string table = zo::GetTableName(cls);
    const std::string fields = ParseProperties(cls, names);
    const std::string key = GetPrimaryKey(GetConnection(), table);
    std::string where = ParseCondition(cls, condition);
    if (!where.empty()) where = "WHERE" + where;
    auto reader = GetReader(GetConnection(),
                            fmt::sprintf("select %s, %s from %s %s", key, fields, table, where));
    std::string result;
    TDBXReader& rows = reader->Reader();
    while (rows.Next()) {
      std::string joined;
      for (int column = 1; column < rows.ColumnCount(); ++column) {
        if (column > 1) joined += ",";
        joined += rows.GetString(column);
      }
      result += fmt::sprintf("|%d=%s| ", rows.GetInt32(0), joined);
    }
    return result;
  } catch (const std::exception& e) {
    throw Exception("Erro- getStrList\r\n" + cls->Name() + "\r\n" + properties + "\r\n" + e.what());
  }
}

std::unique_ptr<TMemoryStream> TGenericDAO::GetBlobData(int32_t id, const std::string& propertyName,
                                                        TDataObjectClass cls) {
  return zo::GetBlobData(GetConnection(), id, propertyName, cls);
}

void TGenericDAO::SetBlobData(int32_t id, const std::string& propertyName, TDataObjectClass cls,
                              TStream* stream) {
  zo::SetBlobData(GetConnection(), id, propertyName, cls, stream);
}

int32_t TGenericDAO::ExecCmd(const std::string& sql) {
  InTransaction([&] { ExecuteSqlCmd(GetConnection(), sql); });
  return 0;
}

int32_t TGenericDAO::GetNextID(int32_t currentID, TDataObjectClass cls, int32_t tipo,
                               const std::string& condition) {
  const std::string parsed = ParseCondition(cls, condition);
  const TDataObjectInfoDB* info = GetObjectInfoDB(cls);
  const std::string table = info->GetTableName();
  const std::string key = info->GetKeyName();
  std::string extra;
  if (!parsed.empty() && (tipo == tnFirst || tipo == tnLast))
    extra = fmt::sprintf("where %s", parsed);
  // Appended as written, without brackets: the statements are fixed texts, so a condition
  // holding OR binds by SQL's own precedence against the key bound before it.
  if (!parsed.empty() && (tipo == tnPrevious || tipo == tnNext))
    extra = fmt::sprintf("and %s", parsed);
  std::string sql;
  switch (tipo) {
    case tnFirst:
      sql = fmt::sprintf("select min(%s) from %s %s", key, table, extra);
      break;
    case tnPrevious:
      sql = fmt::sprintf("select max(%s) from %s where %s < %d %s", key, table, key, currentID,
                         extra);
      break;
    case tnNext:
      sql = fmt::sprintf("select min(%s) from %s where %s > %d %s", key, table, key, currentID,
                         extra);
      break;
    case tnLast:
      sql = fmt::sprintf("select max(%s) from %s %s", key, table, extra);
      break;
    default:
      break;  // no statement: the reader reports the empty text
  }
  auto reader = GetReader(GetConnection(), sql);
  TDBXReader& rows = reader->Reader();
  if (!rows.Next() || rows.IsNull(0)) return currentID;
  return rows.GetInt32(0);
}

std::string TGenericDAO::GetString(const std::string& fieldName, const std::string& tableName,
                                   int32_t id) {
  const std::string key = GetPrimaryKey(GetConnection(), tableName);
  auto reader = GetReader(GetConnection(), fmt::sprintf("Select %s from %s where %s = %d",
                                                        fieldName, tableName, key, id));
  TDBXReader& rows = reader->Reader();
  if (!rows.Next()) {
    throw Exception(fmt::sprintf("Campo %s não encontrado na tabela %s", fieldName, tableName));
  }
  return rows.GetString(0);
}

}  // namespace zo
