#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Exceptions.h>
#include <zo/core/RemoteErrors.h>
#include <zo/core/Streams.h>
#include <zo/core/User.h>
#include <zo/core/WaitScreen.h>
#include <zo/server/ClassDAORegistry.h>
#include <zo/server/Components.h>
#include <zo/server/CustomerFiles.h>
#include <zo/server/ModuleConnection.h>
#include <zo/server/ModuleSerializer.h>
#include <zo/server/Refusals.h>
#include <zo/server/RemoteMethodTable.h>
#include <zo/server/UserRoles.h>

namespace zo {

class TGenericDAO;
class TSQLConnection;
class TZoCallback;
class TZoCustomServerModule;

// What a client hears when a database cannot be opened or a database name is refused: the
// engine's own text (file paths, lock files) goes to the log only.
inline constexpr const char* kDatabaseUnavailable = "base de dados indisponível";

// A remote call the authorization hook refused; the message says what and why.
class ZO_EXPORT EAccessDenied : public Exception {
 public:
  using Exception::Exception;
};

// What a remote call is about to do, as the authorization hook sees it.
enum class TAccessKind { akRead, akInsert, akUpdate, akDelete, akBlobRead, akBlobWrite, akAction };

struct ZO_EXPORT TAccessRequest {
  std::string method;  // the remote method ("GetStrList", "SetUserRole", an application's own)
  TAccessKind kind = TAccessKind::akRead;
  TDataObjectClass cls = nullptr;       // the class concerned; nullptr for actions
  std::vector<std::string> properties;  // reads: the properties read; empty: the whole object
  std::vector<int32_t> ids;             // the records concerned, when the call names them
};

enum TModuleEvent : int {
  meINSERT = 0,
  meUPDATE = 1,
  meDELETE = 2,
  meGET = 3,
  meVALIDATE = 4,
  meCONNECT = 5,
  meDISCONNECT = 6,
};

using TOnModuleEvent = std::function<void(TZoCustomServerModule& sender, TModuleEvent event)>;

// What a module is made with: who connects and for which customer.
struct ZO_EXPORT TModuleCreateArgs {
  std::string username;
  std::string customerID;
  std::string customerPwd;
  bool logActive = false;
  bool failNotifActive = false;
  int32_t terminalKAInterval = 0;
};

// The object a remote client talks to: one per connected client. It owns the client's
// connection, its default DAO, the registries that bind data classes to DAOs, the JSON
// marshallers and the logged-in user, and turns JSON requests into persistence calls. Each of
// those has a type of its own (TCustomerFiles, TModuleConnection, TClassDAORegistry,
// TModuleSerializer, TRemoteMethodTable, and the built-in methods' dispatch table); the
// module joins them and applies its policy.
//
// Construction happens in two steps, because a constructor cannot reach a subclass's virtual
// functions: the constructor stores the arguments, then AfterConstruction (called by the
// server class) creates the data-set providers and calls the virtual Init, which opens the
// connection and loads the user.
class ZO_EXPORT TZoCustomServerModule : public TComponent {
 public:
  explicit TZoCustomServerModule(const TModuleCreateArgs& args);
  ~TZoCustomServerModule() override;

  // Customer directory and connection files (TCustomerFiles), named relative to the
  // application root. Naming a file writes nothing: CreateConnection gives a new customer its
  // "conn.conf" (TCustomerFiles::WriteConfigurationIfMissing) before reading it.
  static std::string GetCustomerDir(const std::string& customerID);
  static std::string GetDBConfigurationFilename(const std::string& customerID);
  static std::unique_ptr<TSQLConnection> CreateConnection(const std::string& customerID);

  void AfterConstruction();
  virtual void Init();
  // A new, unopened connection to `dataBaseName`'s file inside the customer directory; the
  // module's own connection is left alone (SetCurrentDataBase swaps it in).
  std::unique_ptr<TSQLConnection> CreateDataBaseConnection(const std::string& dataBaseName) const;
  void CreateDateSetProviders();
  void UpdateConnection();
  virtual void ConnectionChanged();

  // Remote methods.
  void SetCurrentDataBase(const std::string& dataBaseName);
  // SetCurrentDataBase as clients may call it: a plain file name of the customer's directory
  // ("" closes the connection). Every refusal and every file that does not open gives
  // kDatabaseUnavailable, and the module keeps the connection it had.
  void SetCurrentDataBaseRemote(const std::string& dataBaseName);
  std::string GetCurrentDataBase() const;
  void Release();  // does nothing (server/KeptEmpty.cpp)
  int32_t Insert(const nlohmann::json& jObj, TZoCallback* Callback);
  void Update(const nlohmann::json& jObj, TZoCallback* Callback);
  void Delete(const std::string& AClassName, int32_t id, TZoCallback* Callback);
  void DeleteArray(const std::string& AClassName, const nlohmann::json& jArray,
                   TZoCallback* ACallBack);
  nlohmann::json Get(const std::string& AClassName, int32_t id);
  nlohmann::json GetByCondition(const std::string& AClassName, const std::string& ACondition);
  int32_t GetCount(const std::string& AClassName, const std::string& ACondition);
  std::unique_ptr<TMemoryStream> GetBlobData(const std::string& AClassName, int32_t id,
                                             const std::string& APropertyName);
  void SetBlobData(const std::string& AClassName, int32_t id, const std::string& APropertyName,
                   TStream* AStream);
  int32_t GetNextID(int32_t currentID, const std::string& AClassName, int32_t ATipoNext,
                    const std::string& ACondition);
  std::string GetStrList(const std::string& AClassName, const std::string& AProperties,
                         const std::string& ACondition);
  void Validate(const nlohmann::json& jObj);
  // Read-only metadata: the registered classes with their properties and the methods the
  // application added (ClassCatalog.cpp), the tables of the live database (SchemaCatalog.cpp).
  // Each asks the authorization hook first (a read without a class).
  nlohmann::json GetClasses();
  nlohmann::json GetActions();
  nlohmann::json GetSchema();

  // Users' roles and passwords, for administrators (and a user's own password).
  std::string GetUserRole(int32_t id);
  void SetUserRole(int32_t id, const std::string& ARole);
  void SetUserPassword(int32_t id, const std::string& APassword);

  // Authorization, consulted by every remote method before it touches anything: nullopt
  // allows, a text refuses with that reason. The default policy guards the users' table
  // (everyone reads Login and Nome; only administrators write users; the last administrator
  // can be neither deleted nor demoted) and allows everything else. Override to add rules,
  // and call this one for what you do not decide yourself.
  virtual std::optional<std::string> CheckAccess(const TAccessRequest& request);
  // Raises EAccessDenied (and reports the refusal) when CheckAccess refuses.
  void Demand(const TAccessRequest& request);
  // A client's condition over `cls`, checked against the strict grammar (RemoteCondition.h)
  // and, for the properties it reads, by the authorization hook: what to hand to a DAO.
  // Applications' own methods that take a condition use it too.
  std::string CheckedCondition(const std::string& method, TDataObjectClass cls,
                               const std::string& condition);
  TUserRole UserRole() const { return fUserRole; }
  bool IsAdmin() const { return fUserRole == TUserRole::urAdmin; }

  // Runs the remote method `method` with JSON-RPC named parameters (the argument names above:
  // jObj, AClassName, id, ACondition, jArray, APropertyName, AStream (base64), currentID,
  // ATipoNext, AProperties; ProviderName for GetRecords). When the call fails, any
  // transaction it left open is rolled back before the exception leaves. `callback` lives
  // only for the call: no DAO of the module keeps it afterwards.
  nlohmann::json CallMethod(const std::string& method, const nlohmann::json& params,
                            TZoCallback* callback);
  // Methods an application adds to its module (they are looked up before the built-in ones).
  using TRemoteMethod = TRemoteMethodTable::TRemoteMethod;
  void RegisterMethod(const std::string& name, TRemoteMethod method);

  // Registries.
  void LinkDataClassToDAO(TDataObjectClass cls, TGenericDAO* dao);
  bool UnLinkDataClassFromDAO(TDataObjectClass cls, TGenericDAO* dao);
  TDataObjectClass GetClass(const std::string& AClassName) const;
  TDataObjectClass getClassOfObj(const TBaseDataObject* obj) const;
  virtual TGenericDAO* GetDAO(TDataObjectClass cls) const;
  virtual TGenericDAO* GetDAO(const std::string& AClassName) const;

  // Serialisation.
  nlohmann::json Serializar(std::unique_ptr<TBaseDataObject> obj) const;
  nlohmann::json Serializar(const TBaseDataObject* obj) const;
  nlohmann::json SerializarArray(std::vector<std::unique_ptr<TBaseDataObject>> objects) const;
  static nlohmann::json SerializeIdArray(const std::vector<int32_t>& ids);
  std::unique_ptr<TBaseDataObject> UnSerializar(const nlohmann::json& json) const;
  std::vector<std::unique_ptr<TBaseDataObject>> UnSerializarArray(
      const nlohmann::json& jsonArray) const;
  static std::vector<int32_t> UnSerializeIdArray(const nlohmann::json& jsonArray);

  // Logging hooks: deliberately empty (server/KeptEmpty.cpp); descendants may record the lines.
  virtual void AddToDataBaseLog(const std::string& text, TTipoLogger tipo, int32_t erro);
  virtual void ClearLog();

  TOnModuleEvent OnModuleEvent;
  TSQLConnection* SQLConnection() const { return fConnection.Get(); }
  TUser* User() const { return fUser.get(); }
  TGenericDAO* DefaultDAO() const { return fGenericDAO.get(); }
  const std::string& CustomerID() const { return fFiles.CustomerID(); }
  const std::string& Username() const { return fUsername; }
  bool LogActive() const { return fLogActive; }
  bool FailNotifActive() const { return fFailNotifActive; }
  int32_t TerminalKAInterval() const { return fTerminalKAInterval; }

  // The provider serving `name`'s rows ("dsp" + data set name), or nullptr.
  TDataSetProvider* FindProvider(const std::string& name) const;

 private:
  void Fire(TModuleEvent event);
  // Forgets `callback` in every DAO that still holds it.
  void DropCallback(const TZoCallback* callback) noexcept;
  // An application's method named `method`, else the built-in one (server/RemoteDispatch.h),
  // else EMethodNotFound.
  nlohmann::json Dispatch(const std::string& method, const nlohmann::json& params,
                          TZoCallback* callback);
  // Opens `target` (a path from the application root) and, only once it is open, makes it the
  // module's connection.
  void SwitchDataBase(const std::string& target);
  // Update must not take the insertion stamp or the user from the client: the stored ones
  // are put back before the DAO sees the object.
  void KeepServerOwnedFields(TGenericDAO& dao, TBaseDataObject& obj) const;
  static std::string KeyName(TDataObjectClass cls);
  // Keys are the server's: an inserted object and the items of its lists are always new
  // records, whatever keys the client sent (an item's key would otherwise move a stored item
  // of another record into this one).
  static void ForgetClientKeys(TBaseDataObject& obj);
  // The default policy's rules for the users' table.
  std::optional<std::string> CheckUserAccess(const TAccessRequest& request) const;
  // Not a policy but an invariant, checked after any policy: the users' table always keeps
  // an administrator once it has one.
  std::optional<std::string> LastAdminRule(const TAccessRequest& request) const;
  // Refuses a client's database name unless it is a plain file name (no directory, no "..").
  void CheckRemoteDataBaseName(const std::string& name) const;
  // Reports a refusal with this module's customer, user and `method`.
  void Refused(TRefusalKind kind, const std::string& method, const std::string& detail) const;

  TClassDAORegistry fRegistry;
  bool fFailNotifActive;
  bool fLogActive;
  int32_t fTerminalKAInterval;
  std::string fCurrentDataBase;
  TModuleSerializer fSerializer;
  std::unique_ptr<TGenericDAO> fGenericDAO;
  TModuleConnection fConnection;
  std::unique_ptr<TUser> fUser;
  TUserRole fUserRole = TUserRole::urOrdinary;
  std::string fUsername;
  TCustomerFiles fFiles;
  std::string fCustomerPwd;
  TRemoteMethodTable fExtraMethods;
};

}  // namespace zo
