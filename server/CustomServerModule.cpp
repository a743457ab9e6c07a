#include <zo/server/CustomServerModule.h>

#include <algorithm>
#include <filesystem>

#include <fmt/printf.h>
#include <nlohmann/json.hpp>

#include <zo/core/DebugOutput.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/dao/GenericDAO.h>
#include <zo/mapping/ZoReader.h>
#include <zo/persistence/ZoServerUtils.h>
#include <zo/platform/db/DBXReader.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/server/RemoteCondition.h>

namespace zo {
namespace fs = std::filesystem;
namespace {

// The first 400 characters of a message. Counted in code points, so that a cut never splits a
// UTF-8 sequence (Portuguese messages are full of them, and the line may end up in JSON).
std::string First400(const std::string& s) {
  constexpr size_t kMaxChars = 400;
  size_t chars = 0;
  for (size_t i = 0; i < s.size(); ++i) {
    const bool startsChar = (static_cast<unsigned char>(s[i]) & 0xC0) != 0x80;
    if (startsChar && chars++ == kMaxChars) return s.substr(0, i);
  }
  return s;
}

// Runs `guarded`, swallowing whatever it raises (the destructor's steps).
template <class F>
void Guarded(F guarded) noexcept {
  try {
    guarded();
  } catch (...) {
  }
}

std::string ElementText(const nlohmann::json& element) {
  return element.is_string() ? element.get<std::string>() : element.dump();
}

}  // namespace

// ---- Customer directory and connection files -------------------------------------------------

std::string TZoCustomServerModule::GetCustomerDir(const std::string& customerID) {
  return TCustomerFiles(customerID).Dir();
}

std::string TZoCustomServerModule::GetDBConfigurationFilename(const std::string& customerID) {
  return TCustomerFiles(customerID).ConfigurationFilename();
}

std::unique_ptr<TSQLConnection> TZoCustomServerModule::CreateConnection(
    const std::string& customerID) {
  return TModuleConnection::Create(TCustomerFiles(customerID));
}

// ---- Lifecycle ------------------------------------------------------------------------------

TZoCustomServerModule::TZoCustomServerModule(const TModuleCreateArgs& args)
    : fFailNotifActive(args.failNotifActive),
      fLogActive(args.logActive),
      fTerminalKAInterval(args.terminalKAInterval),
      fUsername(args.username),
      fFiles(args.customerID),
      fCustomerPwd(args.customerPwd) {}

void TZoCustomServerModule::AfterConstruction() {
  if (Designing()) return;
  CreateDateSetProviders();
  fRegistry.Clear();
  Init();
}

void TZoCustomServerModule::Init() {
  ClearLog();
  fRegistry.Clear();
  fConnection.Replace(TModuleConnection::Create(fFiles));
  SQLConnection()->Open();
  fGenericDAO = std::make_unique<TGenericDAO>(SQLConnection());

  auto reader = GetReader(SQLConnection()->DBXConnection(),
                          fmt::sprintf("select ID from USUARIOS where LOGIN = '%s'", fUsername));
  TDBXReader& rows = reader->Reader();
  if (rows.Next() && !rows.IsNull(0)) {
    const int32_t id = rows.GetInt32(0);
    reader.reset();
    fUser = StaticCastOwned<TUser>(
        GetDataObject(SQLConnection()->DBXConnection(), id, &TUser::StaticType(), nullptr, ""));
    fUserRole = LoadUserRole(SQLConnection()->DBXConnection(), id);
  } else {
    fUser.reset();
    fUserRole = TUserRole::urOrdinary;
  }
  fGenericDAO->SetUser(fUser.get());
  UpdateConnection();
  Fire(meCONNECT);
  LinkDataClassToDAO(&TUser::StaticType(), fGenericDAO.get());
}

TZoCustomServerModule::~TZoCustomServerModule() {
  Guarded([&] { fRegistry.Clear(); });
  fConnection.Close();
  Guarded([&] { fConnection.Replace(nullptr); });
  // The default DAO, the user and the marshallers go with the module; DAOs bound by others
  // are theirs.
}

std::unique_ptr<TSQLConnection> TZoCustomServerModule::CreateDataBaseConnection(
    const std::string& dataBaseName) const {
  return TModuleConnection::CreateForDataBase(fFiles, dataBaseName);
}

void TZoCustomServerModule::CreateDateSetProviders() {
  const int count = ComponentCount();
  for (int i = 0; i < count; ++i) {
    auto* dataSet = dynamic_cast<TSQLDataSet*>(Components(i));
    if (dataSet == nullptr) continue;
    auto provider = std::make_unique<TDataSetProvider>();
    provider->SetName(fmt::sprintf("dsp%s", dataSet->Name()));
    provider->SetDataSet(dataSet);
    AddComponent(std::move(provider));
  }
}

void TZoCustomServerModule::UpdateConnection() {
  for (int i = 0; i < ComponentCount(); ++i) {
    if (auto* dataSet = dynamic_cast<TSQLDataSet*>(Components(i))) {
      dataSet->SetSQLConnection(SQLConnection());
    }
  }
}

void TZoCustomServerModule::ConnectionChanged() {
  for (TGenericDAO* dao : fRegistry.DistinctDAOs(fGenericDAO.get())) {
    OutputDebugString(dao->ClassName());
    dao->SetSQLConnection(SQLConnection());
  }
  UpdateConnection();
}

// Names are taken from the application root, never from the process's current directory.
void TZoCustomServerModule::SetCurrentDataBase(const std::string& dataBaseName) {
  if (dataBaseName.empty()) {
    fConnection.Close();
    return;
  }
  SwitchDataBase(fs::exists(TCustomerFiles::Resolve(dataBaseName)) ? dataBaseName
                                                                   : fFiles.DefaultDataBase());
}

void TZoCustomServerModule::SwitchDataBase(const std::string& target) {
  // Opened before anything is given up: a file that cannot be opened leaves the module on the
  // connection it had.
  fConnection.SwitchTo(CreateDataBaseConnection(target));
  fCurrentDataBase = target;
  ConnectionChanged();
}

void TZoCustomServerModule::SetCurrentDataBaseRemote(const std::string& dataBaseName) {
  CheckRemoteDataBaseName(dataBaseName);
  if (dataBaseName.empty()) {
    SetCurrentDataBase(dataBaseName);
    return;
  }
  // Only the customer's own directory is looked at: whether a file exists anywhere else on
  // the server must not show in the answer.
  const std::string own = (fs::path(fFiles.Dir()) / dataBaseName).string();
  try {
    SwitchDataBase(fs::is_regular_file(TCustomerFiles::Resolve(own)) ? own
                                                                     : fFiles.DefaultDataBase());
  } catch (const std::exception& e) {
    Refused(TRefusalKind::rkDatabaseName, "SetCurrentDataBase",
            "\"" + dataBaseName + "\" não abriu: " + e.what());
    throw Exception(kDatabaseUnavailable);
  }
}

std::string TZoCustomServerModule::GetCurrentDataBase() const {
  return fConnection.CurrentDataBase();
}

void TZoCustomServerModule::Fire(TModuleEvent event) {
  if (OnModuleEvent) OnModuleEvent(*this, event);
}

TDataSetProvider* TZoCustomServerModule::FindProvider(const std::string& name) const {
  return dynamic_cast<TDataSetProvider*>(FindComponent(name));
}

// ---- Registries -----------------------------------------------------------------------------

void TZoCustomServerModule::LinkDataClassToDAO(TDataObjectClass cls, TGenericDAO* dao) {
  fRegistry.Link(cls, dao);
}

bool TZoCustomServerModule::UnLinkDataClassFromDAO(TDataObjectClass cls, TGenericDAO* /*dao*/) {
  return fRegistry.UnLink(cls);
}

TDataObjectClass TZoCustomServerModule::GetClass(const std::string& AClassName) const {
  return fRegistry.Class(AClassName);
}

TDataObjectClass TZoCustomServerModule::getClassOfObj(const TBaseDataObject* obj) const {
  if (obj == nullptr) throw Exception("Método: TZoCustomServerModule.getClass. Objeto inválido");
  return obj->ClassType();
}

TGenericDAO* TZoCustomServerModule::GetDAO(TDataObjectClass cls) const {
  return fRegistry.DAO(cls);
}

TGenericDAO* TZoCustomServerModule::GetDAO(const std::string& AClassName) const {
  // Through the virtual GetDAO, so that a module's own choice of DAO applies here too.
  const TDataObjectClass cls = fRegistry.FindClass(AClassName);
  return cls != nullptr ? GetDAO(cls) : fGenericDAO.get();
}

// ---- Serialisation --------------------------------------------------------------------------

nlohmann::json TZoCustomServerModule::Serializar(const TBaseDataObject* obj) const {
  return fSerializer.Serialize(obj);
}

nlohmann::json TZoCustomServerModule::Serializar(std::unique_ptr<TBaseDataObject> obj) const {
  return fSerializer.Serialize(obj.get());  // the object goes when the call ends
}

nlohmann::json TZoCustomServerModule::SerializarArray(
    std::vector<std::unique_ptr<TBaseDataObject>> objects) const {
  return fSerializer.SerializeArray(std::move(objects));
}

nlohmann::json TZoCustomServerModule::SerializeIdArray(const std::vector<int32_t>& ids) {
  return TModuleSerializer::SerializeIdArray(ids);
}

std::unique_ptr<TBaseDataObject> TZoCustomServerModule::UnSerializar(
    const nlohmann::json& json) const {
  return fSerializer.Unserialize(json);
}

std::vector<std::unique_ptr<TBaseDataObject>> TZoCustomServerModule::UnSerializarArray(
    const nlohmann::json& jsonArray) const {
  return fSerializer.UnserializeArray(jsonArray);
}

std::vector<int32_t> TZoCustomServerModule::UnSerializeIdArray(const nlohmann::json& jsonArray) {
  return TModuleSerializer::UnserializeIdArray(jsonArray);
}

// ---- Remote methods -------------------------------------------------------------------------

int32_t TZoCustomServerModule::Insert(const nlohmann::json& jObj, TZoCallback* Callback) {
  const auto obj = UnSerializar(jObj);
  TGenericDAO* dao = GetDAO(getClassOfObj(obj.get()));
  Demand({"Insert", TAccessKind::akInsert, obj->ClassType(), {}, {}});
  ForgetClientKeys(*obj);
  try {
    if (Callback != nullptr) dao->SetCallBack(Callback);
    const int32_t id = dao->Insert(*obj);
    Fire(meINSERT);
    AddToDataBaseLog(
        fmt::sprintf("Insert(%d, %s)", obj->GetCodigo(), obj->ClassType()->QualifiedName()),
        TTipoLogger::tlInclusao, 0);
    return id;
  } catch (const std::exception& e) {
    AddToDataBaseLog(fmt::sprintf("%s: %s", obj->ClassType()->QualifiedName(), First400(e.what())),
                     TTipoLogger::tlInclusao, 1);
    throw;
  }
}

void TZoCustomServerModule::Update(const nlohmann::json& jObj, TZoCallback* Callback) {
  const auto obj = UnSerializar(jObj);
  TGenericDAO* dao = GetDAO(getClassOfObj(obj.get()));
  Demand({"Update", TAccessKind::akUpdate, obj->ClassType(), {}, {obj->GetCodigo()}});
  try {
    dao->SetCallBack(Callback);
    if (Callback != nullptr) {
      KeepServerOwnedFields(*dao, *obj);
      dao->Update(*obj);
    }
    Fire(meUPDATE);
    AddToDataBaseLog(
        fmt::sprintf("Update(%d, %s)", obj->GetCodigo(), obj->ClassType()->QualifiedName()),
        TTipoLogger::tlAlteracao, 0);
  } catch (const std::exception& e) {
    AddToDataBaseLog(fmt::sprintf("Update(%d, %s): %s", obj->GetCodigo(),
                                  obj->ClassType()->QualifiedName(), First400(e.what())),
                     TTipoLogger::tlAlteracao, 1);
    throw;
  }
}

void TZoCustomServerModule::Delete(const std::string& AClassName, int32_t id,
                                   TZoCallback* Callback) {
  const TDataObjectClass cls = GetClass(AClassName);
  TGenericDAO* dao = GetDAO(AClassName);
  if (dao == nullptr) return;
  Demand({"Delete", TAccessKind::akDelete, cls, {}, {id}});
  try {
    dao->SetCallBack(Callback);
    dao->Delete(id, cls);
    Fire(meDELETE);
    AddToDataBaseLog(fmt::sprintf("Delete(%d, %s)", id, AClassName), TTipoLogger::tlExclusao, 0);
  } catch (const std::exception&) {
    // The pattern has no place for the message: the line is the success line.
    AddToDataBaseLog(fmt::sprintf("Delete(%d, %s)", id, AClassName), TTipoLogger::tlExclusao, 1);
    throw;
  }
}

void TZoCustomServerModule::DeleteArray(const std::string& AClassName, const nlohmann::json& jArray,
                                        TZoCallback* ACallBack) {
  const TDataObjectClass cls = GetClass(AClassName);
  TGenericDAO* dao = GetDAO(AClassName);
  std::vector<int32_t> ids;
  if (jArray.is_array()) {
    for (const auto& element : jArray) ids.push_back(text::StrToIntDef(ElementText(element), -1));
  }
  Demand({"DeleteArray", TAccessKind::akDelete, cls, {}, ids});
  dao->SetCallBack(ACallBack);
  dao->DeleteArray(ids, GetClass(AClassName));
  Fire(meDELETE);
}

nlohmann::json TZoCustomServerModule::Get(const std::string& AClassName, int32_t id) {
  TGenericDAO* dao = GetDAO(AClassName);
  const TDataObjectClass cls = GetClass(AClassName);
  Demand({"Get", TAccessKind::akRead, cls, {}, {id}});
  try {
    if (DebugOutputActive() && dao->SQLConnection() != nullptr) {
      OutputDebugString(dao->SQLConnection()->Params().Values("Database"));
    }
    nlohmann::json result = Serializar(dao->Get(id, cls));
    Fire(meGET);
    return result;
  } catch (const std::exception& e) {
    // A failed read answers JSON null: the client cannot tell it from a missing object.
    AddToDataBaseLog(e.what(), TTipoLogger::tlConsulta, 567);
    return nullptr;
  }
}

nlohmann::json TZoCustomServerModule::GetByCondition(const std::string& AClassName,
                                                     const std::string& ACondition) {
  const TDataObjectClass cls = GetClass(AClassName);
  TGenericDAO* dao = GetDAO(AClassName);
  const std::string condition = CheckedCondition("GetByCondition", cls, ACondition);
  Demand({"GetByCondition", TAccessKind::akRead, cls, {}, {}});
  return SerializarArray(dao->GetByCondition(cls, condition));
}

int32_t TZoCustomServerModule::GetCount(const std::string& AClassName,
                                        const std::string& ACondition) {
  const TDataObjectClass cls = fRegistry.FindClass(AClassName);
  if (cls == nullptr) throw Exception("Item not found");
  const std::string condition = CheckedCondition("GetCount", cls, ACondition);
  Demand({"GetCount", TAccessKind::akRead, cls, {KeyName(cls)}, {}});
  return zo::GetCount(SQLConnection()->DBXConnection(), cls, condition);
}

std::unique_ptr<TMemoryStream> TZoCustomServerModule::GetBlobData(
    const std::string& AClassName, int32_t id, const std::string& APropertyName) {
  TGenericDAO* dao = GetDAO(AClassName);
  const TDataObjectClass cls = GetClass(AClassName);
  Demand({"GetBlobData", TAccessKind::akBlobRead, cls, {APropertyName}, {id}});
  return dao->GetBlobData(id, APropertyName, cls);
}

void TZoCustomServerModule::SetBlobData(const std::string& AClassName, int32_t id,
                                        const std::string& APropertyName, TStream* AStream) {
  const TDataObjectClass cls = GetClass(AClassName);
  TGenericDAO* dao = GetDAO(AClassName);
  Demand({"SetBlobData", TAccessKind::akBlobWrite, cls, {APropertyName}, {id}});
  dao->SetBlobData(id, APropertyName, cls, AStream);
}

int32_t TZoCustomServerModule::GetNextID(int32_t currentID, const std::string& AClassName,
                                         int32_t ATipoNext, const std::string& ACondition) {
  const TDataObjectClass cls = GetClass(AClassName);
  const std::string condition = CheckedCondition("GetNextID", cls, ACondition);
  Demand({"GetNextID", TAccessKind::akRead, cls, {KeyName(cls)}, {currentID}});
  return fGenericDAO->GetNextID(currentID, cls, ATipoNext, condition);
}

std::string TZoCustomServerModule::GetStrList(const std::string& AClassName,
                                              const std::string& AProperties,
                                              const std::string& ACondition) {
  const TDataObjectClass cls = GetClass(AClassName);
  TGenericDAO* dao = GetDAO(AClassName);
  std::vector<std::string> properties;
  try {
    properties = CheckRemoteProperties(*cls, AProperties);
  } catch (const ERefusedCondition& e) {
    Refused(TRefusalKind::rkCondition, "GetStrList", e.what());
    throw;
  }
  const std::string condition = CheckedCondition("GetStrList", cls, ACondition);
  Demand({"GetStrList", TAccessKind::akRead, cls, properties, {}});
  std::string list;
  for (const auto& name : properties) list += (list.empty() ? "" : ",") + name;
  return dao->GetStrList(cls, list, condition);
}

void TZoCustomServerModule::Validate(const nlohmann::json& jObj) {
  const auto obj = UnSerializar(jObj);
  TGenericDAO* dao = GetDAO(getClassOfObj(obj.get()));
  Demand({"Validate", TAccessKind::akRead, obj->ClassType(), {}, {}});
  dao->Validate(*obj);
  // Then what the insert itself would refuse, with the same messages.
  ValidateDataObject(dao->GetConnection(), *obj);
  Fire(meVALIDATE);
}

}  // namespace zo
