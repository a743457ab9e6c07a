#pragma once

#include <zo/Export.h>

// Object persistence: free functions that read data objects from rows, write them back,
// translate conditions written over property names and ask the Firebird catalog questions.
//
// Every function that touches the database takes the connection first and neither opens,
// closes nor frees it. Nothing is kept between calls. Failures raise zo::Exception carrying
// the Portuguese message meant for the user. See docs/persistence.md.

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Rtti.h>
#include <zo/core/Streams.h>
#include <zo/mapping/ObjectInfoCache.h>
#include <zo/mapping/ServerClasses.h>
#include <zo/mapping/ZoReader.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXTransaction.h>

namespace zo {

// A single value read from a column. Empty (std::monostate) when no row matched or the column
// is NULL. Strings (text blobs included) are UTF-8; SMALLINT and INTEGER give int32_t, BIGINT
// int64_t, floating and scaled numbers double, DATE/TIME/TIMESTAMP double days since
// 1899-12-30.
using TVariant = std::variant<std::monostate, std::string, bool, int32_t, int64_t, double>;

// ---- Conditions -------------------------------------------------------------------------

// Translates a condition over property names ("Nome = 'Ana' and Idade between 18 and 30")
// into SQL over column names, without WHERE. Empty for an empty condition.
ZO_EXPORT std::string ParseCondition(TDataObjectClass cls, const std::string& condition);
ZO_EXPORT std::string ParseCondition(const TRttiType& type, const std::string& condition);
// The column of a property; of a dotted name ("Cidade.Nome") the first part is resolved.
ZO_EXPORT std::string GetFieldName(const TRttiType* type, const std::string& propertyName);
// The columns of the named properties joined by ",".
ZO_EXPORT std::string ParseProperties(const TRttiType* type, const std::vector<std::string>& names);

// ---- Single values ----------------------------------------------------------------------

ZO_EXPORT int32_t GetCount(TDBXConnection& connection, TDataObjectClass cls, const std::string& condition);
// Kept as an empty operation: always 0, without touching the database.
ZO_EXPORT int32_t GetMax(TDBXConnection& connection, const TRttiProperty* prop, const std::string& condition);
// A new identifier from the table's generator GEN_<table>.
ZO_EXPORT int32_t Novocodigo(TDBXConnection& connection, const std::string& table);
ZO_EXPORT TVariant GetValueFromField(TDBXConnection& connection, int32_t id, const std::string& table,
                           const std::string& column);
ZO_EXPORT void GetValueFromField2(TDBXConnection& connection, int32_t id, const std::string& table,
                        const std::string& column, TVariant& value);
// `condition` is SQL over column names and is used as given.
ZO_EXPORT TVariant GetValueFromFieldByCondition(TDBXConnection& connection, const std::string& table,
                                      const std::string& column, const std::string& condition);

// ---- Catalog questions ------------------------------------------------------------------

// The key columns in key order, joined by ",".
ZO_EXPORT std::string GetPrimaryKey(TDBXConnection& connection, const std::string& table);
// The declared length of the column in bytes; 0 when the catalog does not know the column.
ZO_EXPORT int32_t GetFieldLength(TDBXConnection& connection, const std::string& table,
                       const std::string& column);
ZO_EXPORT bool TableExists(TDBXConnection& connection, const std::string& name);  // any letter case
ZO_EXPORT bool StoredProcedureExists(TDBXConnection& connection, const std::string& name);
ZO_EXPORT bool UDFMethodExists(TDBXConnection& connection, const std::string& name);
ZO_EXPORT bool TriggerExists(TDBXConnection& connection, const std::string& name);  // exact name
ZO_EXPORT bool IndexExists(TDBXConnection& connection, const std::string& name);    // exact name
ZO_EXPORT bool GeneratorExists(TDBXConnection& connection, const std::string& name);
ZO_EXPORT bool ColumnExists(TDBXConnection& connection, const std::string& table, const std::string& column);
ZO_EXPORT void CheckTableExist(TDBXConnection& connection, const std::string& table);

// ---- Statements and transactions --------------------------------------------------------

ZO_EXPORT void ExecuteSqlCmd(TDBXConnection& connection, const std::string& statement);
// Every line in order, empty ones included; the first failure stops the run.
ZO_EXPORT void ExecuteSqlCmd(TDBXConnection& connection, const std::vector<std::string>& statements);
// Runs `sql` for its rows; the caller owns the result.
ZO_EXPORT std::unique_ptr<TZoReader> GetReader(TDBXConnection& connection, const std::string& sql);
ZO_EXPORT std::unique_ptr<TDBXTransaction> StartTransaction(TDBXConnection& connection);
// Both end the transaction and reset the handle.
ZO_EXPORT void CommitTransaction(TDBXConnection& connection, std::unique_ptr<TDBXTransaction>& transaction);
ZO_EXPORT void RollbackTransaction(TDBXConnection& connection, std::unique_ptr<TDBXTransaction>& transaction);
ZO_EXPORT std::string IdArrayToStr(const std::vector<int32_t>& ids, char delimiter);

// ---- Reading objects --------------------------------------------------------------------

// The object stored under `id`. `hostClass` and `hostKeyName` are given only for an object
// kept in its host's table (the key name is the member's column, used as field prefix).
ZO_EXPORT std::unique_ptr<TBaseDataObject> GetDataObject(TDBXConnection& connection, int32_t id,
                                               TDataObjectClass cls,
                                               TDataObjectClass hostClass = nullptr,
                                               const std::string& hostKeyName = "");
ZO_EXPORT std::vector<std::unique_ptr<TBaseDataObject>> GetDataObjectByCondition(
    TDBXConnection& connection, TDataObjectClass cls, const std::string& condition);
// Copies the current row into `object`, then loads its aggregated lists (those whose item
// class is the object's own class only when `loadOwnClassLists`).
ZO_EXPORT void ReaderToObject(TDBXConnection& connection, TDBXReader& reader, TDataObjectInfoDB& info,
                    TBaseDataObject& object, bool loadOwnClassLists);
// Appends the stored children of one aggregated-list property to the list it holds.
ZO_EXPORT void LoadAggregatedList(TDBXConnection& connection, TBaseDataObject& object,
                        const TRttiProperty* listProperty);
// The property of `itemClass` that refers back to `masterClass`, or nullptr.
ZO_EXPORT const TRttiProperty* FindMasterReference(TDataObjectClass itemClass, TDataObjectClass masterClass,
                                         const std::string& referenceName);
// The nested-set rows matching the condition in "lft" order; nullptr (no query) when blank.
ZO_EXPORT std::unique_ptr<TZoReader> GetNestedTree(TDBXConnection& connection, TDataObjectClass cls,
                                         const std::string& condition);
// The bytes of a binary column; nullptr when there is no row, the column is NULL or it cannot
// be read as bytes.
ZO_EXPORT std::unique_ptr<TMemoryStream> GetBlobData(TDBXConnection& connection, int32_t id,
                                           const std::string& propertyName, TDataObjectClass cls);

// ---- Writing objects --------------------------------------------------------------------

// Inserts the object (drawing its Codigo from the generator when negative) and, with
// `writeLists`, its aggregated lists. Returns the identifier.
ZO_EXPORT int32_t InsertDataObject(TDBXConnection& connection, TBaseDataObject& object,
                         bool writeLists = true);
// Writes the properties that differ from the stored row, then synchronises the lists. A null
// object is ignored; an object without identifier (-1) raises.
ZO_EXPORT void UpdateDataObject(TDBXConnection& connection, TBaseDataObject* object,
                      TDataObjectClass hostClass = nullptr, bool writeOwnClassLists = true,
                      const std::string& hostKeyName = "");
ZO_EXPORT void DeleteDataObject(TDBXConnection& connection, int32_t id, TDataObjectClass cls);
// Inserts new children, updates known ones and, with `removeMissing`, deletes (or, in a tree
// of one class, detaches) stored children that left the list.
ZO_EXPORT void ProcessAgregations(TDBXConnection& connection, TBaseDataObject& owner,
                        const TRttiProperty* listProperty, bool removeMissing);
ZO_EXPORT void DeleteAgregations(TDBXConnection& connection, TBaseDataObject& owner,
                       const TRttiProperty* listProperty);
// Deletes the rows of every aggregated list of the stored object `id` (one statement a list).
ZO_EXPORT void DeleteAggregatedRows(TDBXConnection& connection, int32_t id, TDataObjectClass cls);
// Replaces a binary column by the stream's bytes (an absent stream makes it NULL), in its own
// transaction. On failure that transaction's handle is released on the way out, which rolls
// back the level it opened; a transaction of the caller around it is left to the caller.
ZO_EXPORT void SetBlobData(TDBXConnection& connection, int32_t id, const std::string& propertyName,
                 TDataObjectClass cls, TStream* stream);
// Raises, with the message the insert would give, when the object (or an item of its lists)
// breaks its class rules or repeats the value of a unique column that another row holds.
// Writes nothing.
ZO_EXPORT void ValidateDataObject(TDBXConnection& connection, TBaseDataObject& object);
// Raises text + "\r\nTipo = <class>\r\nCódigo: <id>" ("Objeto nulo" for a null object).
[[noreturn]] ZO_EXPORT void RaiseDataObjectError(const TBaseDataObject* object, const std::string& text);

// ---- Helpers ----------------------------------------------------------------------------

// A pass-through: returns its argument unchanged.
ZO_EXPORT std::string DesencryptStr(const std::string& s);
// 0 when the failure is the database refusing a repeated primary key or unique constraint
// value (an EDatabaseError naming the constraint), else -1. A duplicate refused inside
// InsertDataObject/UpdateDataObject already carries the message naming the property instead.
ZO_EXPORT int32_t GetCodeException(const std::exception& e);
// Copies from the source's current position to its end; neither stream is repositioned.
ZO_EXPORT void CopyStreamToStream(TStream& source, TStream& target);

}  // namespace zo
