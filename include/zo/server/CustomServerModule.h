#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Streams.h>
#include <zo/core/User.h>
#include <zo/core/WaitScreen.h>
#include <zo/server/Components.h>

namespace zo {

class TGenericDAO;
class TJSONMarshal;
class TJSONUnMarshal;
class TSQLConnection;
class TZoCallback;
class TZoCustomServerModule;

// A remote call that names no method of the module, or passes parameters of the wrong kind.
class ZO_EXPORT EMethodNotFound : public Exception {
 public:
  using Exception::Exception;
};
class ZO_EXPORT EInvalidParams : public Exception {
 public:
  using Exception::Exception;
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
// marshallers and the logged-in user, and turns JSON requests into persistence calls.
//
// Construction happens in two steps, because a constructor cannot reach a subclass's virtual
// functions: the constructor stores the arguments, then AfterConstruction (called by the
// server class) creates the data-set providers and calls the virtual Init, which opens the
// connection and loads the user.
class ZO_EXPORT TZoCustomServerModule : public TComponent {
 public:
  explicit TZoCustomServerModule(const TModuleCreateArgs& args);
  ~TZoCustomServerModule() override;

  // Customer directory and connection files.
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
  std::string GetCurrentDataBase() const;
  void Release() {}
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

  // Runs the remote method `method` with JSON-RPC named parameters (the argument names above:
  // jObj, AClassName, id, ACondition, jArray, APropertyName, AStream (base64), currentID,
  // ATipoNext, AProperties; ProviderName for GetRecords). When the call fails, any
  // transaction it left open is rolled back before the exception leaves. `callback` lives
  // only for the call: no DAO of the module keeps it afterwards.
  nlohmann::json CallMethod(const std::string& method, const nlohmann::json& params,
                            TZoCallback* callback);
  // Methods an application adds to its module (they are looked up before the built-in ones).
  using TRemoteMethod =
      std::function<nlohmann::json(const nlohmann::json& params, TZoCallback* callback)>;
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

  // Logging hooks: deliberately empty; descendants may record the lines.
  virtual void AddToDataBaseLog(const std::string& text, TTipoLogger tipo, int32_t erro);
  virtual void ClearLog() {}

  TOnModuleEvent OnModuleEvent;
  TSQLConnection* SQLConnection() const { return fSqlConnection; }
  TUser* User() const { return fUser.get(); }
  TGenericDAO* DefaultDAO() const { return fGenericDAO.get(); }
  const std::string& CustomerID() const { return fCustomerID; }
  const std::string& Username() const { return fUsername; }
  bool LogActive() const { return fLogActive; }
  bool FailNotifActive() const { return fFailNotifActive; }
  int32_t TerminalKAInterval() const { return fTerminalKAInterval; }

  // The provider serving `name`'s rows ("dsp" + data set name), or nullptr.
  TDataSetProvider* FindProvider(const std::string& name) const;

 private:
  void Fire(TModuleEvent event);
  // The default DAO, then every bound DAO once, in that order.
  std::vector<TGenericDAO*> DistinctDAOs() const;
  // Forgets `callback` in every DAO that still holds it.
  void DropCallback(const TZoCallback* callback) noexcept;
  nlohmann::json Dispatch(const std::string& method, const nlohmann::json& params,
                          TZoCallback* callback);
  // The connection owned by the module, kept as a component-independent slot.
  void ReplaceConnection(std::unique_ptr<TSQLConnection> connection);

  std::map<std::string, TDataObjectClass> fHashClassName;
  std::map<TDataObjectClass, TGenericDAO*> fHashClassDAO;  // DAOs not owned
  bool fFailNotifActive;
  bool fLogActive;
  int32_t fTerminalKAInterval;
  std::string fCurrentDataBase;
  std::unique_ptr<TJSONMarshal> fMarshal;
  std::unique_ptr<TJSONUnMarshal> fUnMarshal;
  std::unique_ptr<TGenericDAO> fGenericDAO;
  std::unique_ptr<TSQLConnection> fOwnedConnection;
  TSQLConnection* fSqlConnection = nullptr;
  TZoCustomServerModule* fOwnerModule = nullptr;
  std::unique_ptr<TUser> fUser;
  std::string fCustomerID;
  std::string fUsername;
  std::string fCustomerPwd;
  std::map<std::string, TRemoteMethod> fExtraMethods;
};

// The application root: the directory relative paths ("conn.conf", "CustomersDB/...") are
// resolved against. Set once at start-up (the server also makes it the current directory).
ZO_EXPORT void SetApplicationRoot(const std::string& root);
ZO_EXPORT std::string ApplicationRoot();

}  // namespace zo
