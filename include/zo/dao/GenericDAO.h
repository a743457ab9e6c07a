#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Dates.h>
#include <zo/core/Streams.h>
#include <zo/core/User.h>

namespace zo {

class TDBXConnection;
class TDBXTransaction;
class TSQLConnection;
class TZoCallback;

// Record navigation directions of GetNextID.
enum TTipoNext : int32_t { tnFirst = 0, tnPrevious = 1, tnNext = 2, tnLast = 3 };

// The data-access object through which the server methods reach the database: each write runs
// in its own transaction (rolled back before an exception leaves), user objects are stamped
// with the current user and time, foreign-key violations on delete become user messages, and
// deletions report progress to the client. Applications derive their own DAOs and override
// the virtual operations; the server module binds DAOs to data classes.
class ZO_EXPORT TGenericDAO {
 public:
  explicit TGenericDAO(TSQLConnection* connection);
  TGenericDAO(const TGenericDAO&) = delete;
  TGenericDAO& operator=(const TGenericDAO&) = delete;
  virtual ~TGenericDAO();

  // The class name used in messages; descendants report their own.
  virtual std::string ClassName() const { return "TGenericDAO"; }

  virtual int32_t Insert(TBaseDataObject& obj);
  virtual std::unique_ptr<TBaseDataObject> Get(int32_t id, TDataObjectClass cls);
  virtual void Update(TBaseDataObject& obj);
  virtual void Delete(int32_t id, TDataObjectClass cls);
  virtual std::vector<std::unique_ptr<TBaseDataObject>> GetByCondition(
      TDataObjectClass cls, const std::string& condition);
  virtual int32_t GetCount(TDataObjectClass cls, const std::string& condition);
  virtual void DeleteArray(const std::vector<int32_t>& ids, TDataObjectClass cls);
  virtual std::string GetStrList(TDataObjectClass cls, const std::string& properties,
                                 const std::string& condition);
  // A hook for descendants: raise to refuse the object.
  virtual void Validate(TBaseDataObject& obj);
  virtual std::unique_ptr<TMemoryStream> GetBlobData(int32_t id, const std::string& propertyName,
                                                     TDataObjectClass cls);
  virtual void SetBlobData(int32_t id, const std::string& propertyName, TDataObjectClass cls,
                           TStream* stream);

  TDBXConnection& GetConnection() const;
  int32_t ExecCmd(const std::string& sql);
  // Navigation: first, previous, next or last identifier of the class's table under an
  // optional condition. When the table has no such row the current identifier is returned,
  // so a client's navigation stays where it is.
  int32_t GetNextID(int32_t currentID, TDataObjectClass cls, int32_t tipo,
                    const std::string& condition);
  std::string GetString(const std::string& fieldName, const std::string& tableName, int32_t id);
  void InsertObjectUser(TBaseDataObject& obj);
  void UpdateObjectUser(TBaseDataObject& obj);

  std::unique_ptr<TDBXTransaction> StartTransaction();
  void Commit(std::unique_ptr<TDBXTransaction>& tx);
  void RollBack(std::unique_ptr<TDBXTransaction>& tx);

  void SetCallBack(TZoCallback* callback) { FCallBack = callback; }
  TZoCallback* CallBack() const { return FCallBack; }
  void SetWaitTitle(const std::string& text);
  void SetWaitCount(int count);
  void GoWaitPos(int position);

  TSQLConnection* SQLConnection() const { return fSQLConnection; }
  void SetSQLConnection(TSQLConnection* connection) { fSQLConnection = connection; }
  TUser* User() const { return FUser; }
  void SetUser(TUser* user) { FUser = user; }
  const std::string& CustomerID() const { return fCustomerID; }
  void SetCustomerID(std::string id) { fCustomerID = std::move(id); }
  const std::string& CustomerPwd() const { return fCustomerPwd; }
  void SetCustomerPwd(std::string pwd) { fCustomerPwd = std::move(pwd); }
  const std::string& UpdTableName() const { return FUpdTableName; }
  void SetUpdTableName(std::string name) { FUpdTableName = std::move(name); }
  TDataObjectClass DataClass() const { return FDataClass; }
  void SetDataClass(TDataObjectClass cls) { FDataClass = cls; }
  const std::string& TableName() const { return FTableName; }
  void SetTableName(std::string name) { FTableName = std::move(name); }

 protected:
  std::string FUpdTableName;
  std::string fCustomerID;
  TSQLConnection* fSQLConnection = nullptr;  // not owned
  std::string fCustomerPwd;
  TZoCallback* FCallBack = nullptr;  // not owned; the last caller's
  TDataObjectClass FDataClass = nullptr;
  std::string FTableName;
  std::string FPrimaryKeyName;
  TUser* FUser = nullptr;  // not owned

 private:
  TDateTime StampTime() const;
  // Deletes one record of DeleteArray in a savepoint; false when a foreign key refused it.
  bool DeleteInSavepoint(int32_t id, TDataObjectClass cls);
  TDateTime fStampTime;  // set during Insert so that both stamps are equal

  // Runs `work` in its own transaction: committed on success, rolled back before any
  // exception leaves.
  template <class Work>
  auto InTransaction(Work work);
};

}  // namespace zo
