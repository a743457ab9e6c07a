// Writing data objects: insert with a new identifier, update of the changed properties only,
// delete together with the rows of its lists.
#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/core/Exceptions.h>
#include <zo/platform/db/DatabaseError.h>
#include "persistence/PersistenceDetail.h"
#include <zo/persistence/ZoServerUtils.h>

namespace zo {
namespace {

bool IsHostedMember(const TRttiProperty* prop) {
  return GetAttribSkill(prop) == TPropertySkill::psEmbedded;
}

TBaseDataObject* MemberOf(const TBaseDataObject& owner, const TRttiProperty* prop) {
  return dynamic_cast<TBaseDataObject*>(prop->GetObject(owner));
}

// A hosted member lives in the owner's row: it takes the owner's identifier and is written as
// an update of the member's columns there.
void WriteHostedMember(TDBXConnection& connection, const TBaseDataObject& owner,
                       const TRttiProperty* prop, TDataObjectClass hostClass) {
  TBaseDataObject* member = MemberOf(owner, prop);
  if (member == nullptr) return;
  member->SetCodigo(owner.GetCodigo());
  UpdateDataObject(connection, member, hostClass, true, GetAttribName(prop));
}

bool RowExists(TDBXConnection& connection, const TDataObjectInfoDB& info, int32_t id) {
  const auto reader =
      GetReader(connection, fmt::sprintf("select first 1 1 from %s where %s = %d",
                                         info.GetTableName(), detail::RowKeyName(info), id));
  return reader->Reader().Next();
}

// A duplicate refused by the database is answered naming the property, not with the
// database's own text. Which property it was is asked of the table; a repeated key is the
// key property's; anything else still gets a message of its own.
[[noreturn]] void RaiseDuplicate(TDBXConnection& connection, const TDataObjectInfoDB& info,
                                 const TBaseDataObject& object) {
  const TRttiProperty* prop = detail::FindDuplicatedProperty(connection, info, object);
  if (prop == nullptr && info.KeyProperty() != nullptr &&
      RowExists(connection, info, object.GetCodigo())) {
    prop = info.KeyProperty();
  }
  if (prop != nullptr) throw Exception(detail::DuplicateValueMessage(object, prop));
  throw Exception("O objeto da classe \"" + object.ClassName() +
                  "\" repete o valor de uma coluna única de outro objeto");
}

// Runs the statements that write the object's own row.
void WriteRow(TDBXConnection& connection, const TDataObjectInfoDB& info,
              const TBaseDataObject& object, const std::vector<std::string>& statements) {
  try {
    ExecuteSqlCmd(connection, statements);
  } catch (const EDatabaseError& e) {
    if (e.Category() != DatabaseErrorCategory::UniqueViolation) throw;
    RaiseDuplicate(connection, info, object);
  }
}

// Binary large objects the object holds are written after its row, chunk by chunk. One it
// does not hold is left as stored: a read never fills it, so an object read and sent back
// must not wipe it (SetBlobData with no stream makes it NULL).
void WriteHeldBlobs(TDBXConnection& connection, const TDataObjectInfoDB& info,
                    const TBaseDataObject& object) {
  for (const TRttiProperty* prop : info.Properties()) {
    if (TStream* stream = detail::HeldBinaryBlob(object, prop)) {
      detail::WriteBinaryBlob(connection, info, prop, object.GetCodigo(), stream);
    }
  }
}

int32_t Insert(TDBXConnection& connection, TBaseDataObject& object, bool writeLists) {
  TDataObjectInfoDB& info = *GetObjectInfoDB(object.ClassType());
  if (object.GetCodigo() < 0) object.SetCodigo(detail::DrawKey(connection, info.GetTableName()));
  info.Validate(object);
  WriteRow(connection, info, object, {info.GenerateInsertCode(object)});
  WriteHeldBlobs(connection, info, object);
  if (writeLists) {
    const std::vector<const TRttiProperty*> lists = info.ListProperties();
    for (const TRttiProperty* list : lists) ProcessAgregations(connection, object, list, false);
  }
  const std::vector<const TRttiProperty*> props = info.Properties();
  for (const TRttiProperty* prop : props) {
    if (GetAttribSkill(prop) == TPropertySkill::psTextBlob) {
      // Text large objects are left out of the INSERT and appended in chunks.
      std::vector<std::string> commands;
      info.GenerateUpdateCode(object, {prop}, commands);
      ExecuteSqlCmd(connection, commands);
    } else if (IsHostedMember(prop)) {
      WriteHostedMember(connection, object, prop, object.ClassType());
    }
  }
  return object.GetCodigo();
}

void Update(TDBXConnection& connection, TBaseDataObject& object, TDataObjectClass hostClass,
            bool writeOwnClassLists, const std::string& hostKeyName) {
  TDataObjectInfoDB& info = *GetObjectInfoDB(object.ClassType(), hostClass, hostKeyName);
  if (object.GetCodigo() == -1) {
    throw Exception("O objeto ainda não foi gravado (Código -1): não há registro para atualizar");
  }
  const auto old =
      GetDataObject(connection, object.GetCodigo(), object.ClassType(), hostClass, hostKeyName);
  const auto changed = info.GetChangedProperties(&connection, old.get(), object);
  if (!changed.empty()) {
    std::vector<std::string> commands;
    info.GenerateUpdateCode(object, changed, commands);
    WriteRow(connection, info, object, commands);
  }
  WriteHeldBlobs(connection, info, object);
  const std::vector<const TRttiProperty*> props = info.Properties();
  for (const TRttiProperty* prop : props) {
    // Unlike the insert, only a composed member is written here.
    if (IsComposition(prop) && prop->IsWritable() && IsHostedMember(prop)) {
      WriteHostedMember(connection, object, prop, hostClass ? hostClass : object.ClassType());
    }
  }
  const std::vector<const TRttiProperty*> lists = info.ListProperties();
  for (const TRttiProperty* list : lists) {
    const bool ownClass = TDataObjectInfo::GetClassOfPropertyList(list) == object.ClassType();
    if (writeOwnClassLists || !ownClass) ProcessAgregations(connection, object, list, true);
  }
}

}  // namespace

void RaiseDataObjectError(const TBaseDataObject* object, const std::string& text) {
  if (object == nullptr) throw Exception("Objeto nulo");
  throw Exception(text + "\r\n" + "Tipo = " + object->ClassName() + "\r\n" +
                  "Código: " + std::to_string(object->GetCodigo()));
}

int32_t InsertDataObject(TDBXConnection& connection, TBaseDataObject& object, bool writeLists) {
  try {
    return Insert(connection, object, writeLists);
  } catch (const std::exception& e) {
    RaiseDataObjectError(&object, std::string("Falha na inclusão do objeto\r\n") + e.what());
  }
}

void UpdateDataObject(TDBXConnection& connection, TBaseDataObject* object,
                      TDataObjectClass hostClass, bool writeOwnClassLists,
                      const std::string& hostKeyName) {
  if (object == nullptr) return;
  try {
    Update(connection, *object, hostClass, writeOwnClassLists, hostKeyName);
  } catch (const std::exception& e) {
    RaiseDataObjectError(object, std::string("Falha na atualização do objeto\r\n") + e.what());
  }
}

void DeleteDataObject(TDBXConnection& connection, int32_t id, TDataObjectClass cls) {
  const std::string table = GetAttributeTableName(cls);
  CheckTableExist(connection, table);
  const std::string key = cls->GetIdName();
  DeleteAggregatedRows(connection, id, cls);
  ExecuteSqlCmd(connection, fmt::sprintf("delete from %s where %s = %d", table, key, id));
}

}  // namespace zo
