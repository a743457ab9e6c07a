#pragma once

#include <zo/Export.h>

#include <bitset>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <zo/core/BaseDataObject.h>

// In-memory model of a database schema and the Firebird DDL text of each of its elements.
//
// A TModuleStruct owns the tables, procedures, triggers and external functions of one module;
// a TTableStruct owns its columns, primary key, foreign keys, unique constraints and indices.
// Adding an element through an Add... method hands its ownership to the container and makes
// the container the element's parent (GetParent), which is how a column, constraint or index
// finds its table. The lists of related tables (ExtendedTables, DependsThis, ThisDepends of a
// table) hold observers only: those tables belong to the module.
//
// Every name (element names, key names, referenced names) is stored upper-cased by its setter;
// other strings are stored as given. The model does no database access.
namespace zo {

class TTableStruct;

enum class TDBRType {
  dbsChar,
  dbsString,
  dbsFloat,
  dbsInteger,
  dbsEnum,
  dbsDate,
  dbsDateTime,
  dbsTime,
  dbsTextBlob,
  dbsBinBlob
};

// Declared for triggers; a trigger itself is only its statement text and its table name.
enum class TTriggerType { ttBefore, ttAfter };
using TSetTriggerType = std::bitset<2>;  // indexed by the ordinal of TTriggerType
enum class TTriggerAction { taInsert, taUpdate, taDelete };

// Owning and observing lists of the model.
template <class T>
using TOwnedStructs = std::vector<std::unique_ptr<T>>;
using TTableRefs = std::vector<TTableStruct*>;

// Root of every structure element: a name and its DDL text.
class ZO_EXPORT TBaseStruct : public TBaseDataObject {
  ZO_DATA_CLASS(TBaseStruct, TBaseDataObject)
 public:
  const std::string& Name() const { return fName; }
  void setName(std::string_view value);  // stores the upper-cased value

  virtual std::string getDDL() const = 0;

  // The table this element was added to, or nullptr.
  TTableStruct* OwnerTable() const;

 private:
  std::string fName;
};

// A constraint on one column (fKeyName) of its owning table.
class ZO_EXPORT TConstraintStruct : public TBaseStruct {
  ZO_DATA_CLASS(TConstraintStruct, TBaseStruct)
 public:
  const std::string& KeyName() const { return fKeyName; }
  void setKeyName(std::string_view value);  // stores the upper-cased value

 private:
  std::string fKeyName;
};

class ZO_EXPORT TDBSPrimaryKey : public TConstraintStruct {
  ZO_DATA_CLASS(TDBSPrimaryKey, TConstraintStruct)
 public:
  std::string getDDL() const override;
};

class ZO_EXPORT TForeignKeyStruct : public TConstraintStruct {
  ZO_DATA_CLASS(TForeignKeyStruct, TConstraintStruct)
 public:
  const std::string& RefTableName() const { return fRefTableName; }
  void setRefTableName(std::string_view value);  // stores the upper-cased value
  const std::string& RefKeyName() const { return fRefKeyName; }
  void setRefKeyName(std::string_view value);  // stores the upper-cased value

  std::string getDDL() const override;

 private:
  std::string fRefTableName;
  std::string fRefKeyName;
};

class ZO_EXPORT TUniqueStruct : public TConstraintStruct {
  ZO_DATA_CLASS(TUniqueStruct, TConstraintStruct)
 public:
  std::string getDDL() const override;
};

class ZO_EXPORT TColumnStruct : public TBaseStruct {
  ZO_DATA_CLASS(TColumnStruct, TBaseStruct)
 public:
  TDBRType TypeData() const { return fTypeData; }
  void SetTypeData(TDBRType value) { fTypeData = value; }
  int32_t Size() const { return fSize; }  // character length of a string column
  void SetSize(int32_t value) { fSize = value; }
  bool Required() const { return fRequired; }  // NOT NULL
  void SetRequired(bool value) { fRequired = value; }
  bool Indexed() const { return GetIndexed(); }
  void SetIndexed(bool value) { fIndexed = value; }
  // The data-class property the column comes from.
  const std::string& SourceFieldName() const { return fSourceFieldName; }
  void SetSourceFieldName(std::string value) { fSourceFieldName = std::move(value); }

  bool IsBlobType() const;
  bool IsPrimaryKey() const;
  // The table's foreign keys, then unique constraints, then primary key on this column.
  std::vector<TConstraintStruct*> GetConstraints() const;
  TConstraintStruct* FindConstraint(std::string_view AConstraintName) const;
  TUniqueStruct* GetUniqueStruct() const;
  std::vector<TForeignKeyStruct*> GetForeignKeys() const;
  bool HasForeignKeys() const;
  // Explicitly indexed, or the key column, or under a unique constraint. Raises for a column
  // that belongs to no table.
  bool GetIndexed() const;

  std::string GetTypeString() const;
  std::string getDDL() const override;

 private:
  TDBRType fTypeData = TDBRType::dbsChar;
  int32_t fSize = 0;
  bool fRequired = false;
  bool fIndexed = false;
  std::string fSourceFieldName;
};

// A DDL statement held as text (procedures, triggers, external functions).
class ZO_EXPORT TDDLStruct : public TBaseStruct {
  ZO_DATA_CLASS(TDDLStruct, TBaseStruct)
 public:
  const std::string& Statement() const { return fStatement; }
  void SetStatement(std::string value) { fStatement = std::move(value); }

  std::string getDDL() const override;

 private:
  std::string fStatement;
};

class ZO_EXPORT TStoredProcedure : public TDDLStruct {
  ZO_DATA_CLASS(TStoredProcedure, TDDLStruct)
};

class ZO_EXPORT TTrigger : public TDDLStruct {
  ZO_DATA_CLASS(TTrigger, TDDLStruct)
 public:
  const std::string& Table() const { return fTable; }  // the table the trigger belongs to
  void SetTable(std::string value) { fTable = std::move(value); }

 private:
  std::string fTable;
};

class ZO_EXPORT TGeneratorStruct : public TBaseStruct {
  ZO_DATA_CLASS(TGeneratorStruct, TBaseStruct)
 public:
  int32_t Value() const { return fValue; }
  void SetValue(int32_t value) { fValue = value; }

  std::string getDDL() const override;  // without a closing semicolon

 private:
  int32_t fValue = 0;
};

class ZO_EXPORT TIndiceStruct : public TBaseStruct {
  ZO_DATA_CLASS(TIndiceStruct, TBaseStruct)
 public:
  const std::string& Column() const { return fColumn; }  // the indexed column
  void SetColumn(std::string value) { fColumn = std::move(value); }

  // Raises "Erro ao obter DDL do índice: ..." when the text cannot be built.
  std::string getDDL() const override;

 private:
  std::string fColumn;
};

// One argument of an external function; its text is the SQL type of the catalog's field-type
// code (FieldType).
class ZO_EXPORT TUDFArgument : public TBaseStruct {
  ZO_DATA_CLASS(TUDFArgument, TBaseStruct)
 public:
  enum class TUDFMechanism { trmByValue, trmByReference, trmByDescriptor, trmByBlobDescriptor };

  int32_t FieldType() const { return fFieldType; }
  void SetFieldType(int32_t value) { fFieldType = value; }
  int32_t FieldSubType() const { return fFieldSubType; }
  void SetFieldSubType(int32_t value) { fFieldSubType = value; }
  int32_t Size() const { return fSize; }
  void SetSize(int32_t value) { fSize = value; }
  TUDFMechanism Mechanism() const { return fMechanism; }
  void SetMechanism(TUDFMechanism value) { fMechanism = value; }

  // Same type, sub-type, mechanism and size; the name does not count.
  bool IsEqual(const TUDFArgument& other) const;
  std::string getDDL() const override;

 private:
  int32_t fSize = 0;
  TUDFMechanism fMechanism = TUDFMechanism::trmByReference;
  int32_t fFieldType = 0;
  int32_t fFieldSubType = 0;
};

// An external function (DECLARE EXTERNAL FUNCTION). Arguments()[0] is the return value, the
// others are the parameters in order.
class ZO_EXPORT TUDFMethod : public TDDLStruct {
  ZO_DATA_CLASS(TUDFMethod, TDDLStruct)
 public:
  using TUDFMechanism = TUDFArgument::TUDFMechanism;

  const std::string& ModuleName() const { return fModuleName; }  // file of the external library
  void SetModuleName(std::string value) { fModuleName = std::move(value); }
  const std::string& EntryPoint() const { return fEntryPoint; }
  void SetEntryPoint(std::string value) { fEntryPoint = std::move(value); }
  TUDFMechanism ReturnMechanism() const { return fReturnMechanism; }
  void SetReturnMechanism(TUDFMechanism value) { fReturnMechanism = value; }
  bool FreeIt() const { return fFreeIt; }
  void SetFreeIt(bool value) { fFreeIt = value; }

  const TOwnedStructs<TUDFArgument>& Arguments() const { return fArguments; }
  TUDFArgument& AddArgument(std::unique_ptr<TUDFArgument> argument);

  // Same library, entry point, return mechanism, FreeIt and pairwise equal arguments; the
  // function names do not count.
  bool IsEqual(const TUDFMethod& other) const;
  std::string getDDL() const override;

 private:
  std::string fModuleName;
  std::string fEntryPoint;
  TOwnedStructs<TUDFArgument> fArguments;
  TUDFMechanism fReturnMechanism = TUDFMechanism::trmByReference;
  bool fFreeIt = false;
};

class ZO_EXPORT TTableStruct : public TBaseStruct {
  ZO_DATA_CLASS(TTableStruct, TBaseStruct)
 public:
  // Creates the table's primary-key element, parented to the table.
  TTableStruct();
  ~TTableStruct() override;

  // A table's text is GetDDL; this one raises "Abstract Error".
  std::string getDDL() const override;

  const std::string& SourceClass() const { return fSourceClass; }  // the data class's name
  void SetSourceClass(std::string value) { fSourceClass = std::move(value); }
  const std::string& DataScript() const { return fDataScript; }  // data to run after creation
  void SetDataScript(std::string value) { fDataScript = std::move(value); }
  bool HasGenerator() const { return fHasGenerator; }  // the key is fed by a sequence
  void SetHasGenerator(bool value) { fHasGenerator = value; }
  bool IsExtendedTable() const { return fIsExtendedTable; }
  void SetIsExtendedTable(bool value) { fIsExtendedTable = value; }

  // nullptr when the table has been left without a key (SetPrimaryKey(nullptr)).
  TDBSPrimaryKey* PrimaryKey() const { return fPrimaryKey.get(); }
  void SetPrimaryKey(std::unique_ptr<TDBSPrimaryKey> key);

  // Owned elements: each Add takes ownership and parents the element to this table.
  const TOwnedStructs<TColumnStruct>& Columns() const { return fColumns; }
  TColumnStruct& AddColumn(std::unique_ptr<TColumnStruct> column);
  const TOwnedStructs<TForeignKeyStruct>& ForeignKeys() const { return fForeignKeys; }
  TForeignKeyStruct& AddForeignKey(std::unique_ptr<TForeignKeyStruct> key);
  const TOwnedStructs<TUniqueStruct>& Uniques() const { return fUniques; }
  TUniqueStruct& AddUnique(std::unique_ptr<TUniqueStruct> unique);
  const TOwnedStructs<TIndiceStruct>& Indices() const { return fIndices; }
  TIndiceStruct& AddIndex(std::unique_ptr<TIndiceStruct> index);

  // Related tables (observers): the tables of the ancestor classes whose columns this table
  // inherits, the tables that depend on this one and the tables this one depends on.
  const TTableRefs& ExtendedTables() const { return fExtendedTables; }
  void AddExtendedTable(TTableStruct* table) { fExtendedTables.push_back(table); }
  const TTableRefs& DependsThis() const { return fDependsThis; }
  void AddDependsThis(TTableStruct* table) { fDependsThis.push_back(table); }
  const TTableRefs& ThisDepends() const { return fThisDepends; }
  void AddThisDepends(TTableStruct* table) { fThisDepends.push_back(table); }

  // Look-ups: the first match or nullptr. Names are compared with the upper-cased argument,
  // except in FindIndexForColumn, FindFKForTable and HasDependencieFrom (exact argument).
  TColumnStruct* FindColumn(std::string_view AColumnName) const;  // own columns only
  TForeignKeyStruct* FindForeignKey(std::string_view AForeignKeyName) const;
  TUniqueStruct* FindUnique(std::string_view AUniqueName) const;
  TIndiceStruct* FindIndexForColumn(std::string_view AColumnName) const;
  std::vector<TForeignKeyStruct*> FindFKForTable(std::string_view TableName) const;
  bool HasDependencieFrom(std::string_view Tablename) const;
  bool HasBlobField() const;

  // Own and inherited columns, sorted by name (ordinal comparison).
  std::vector<TColumnStruct*> GetAllColumns() const;
  // Own foreign keys, then inherited ones of other names.
  std::vector<TForeignKeyStruct*> GetAllForeignKeys() const;
  // Every table depending on this one, directly or through others (depth first).
  std::vector<TTableStruct*> GetAllDependsThis() const;
  std::string GetFieldList(std::string_view Alias, bool UseDistinctID, bool IncludeBlobs) const;
  std::string GetGeneratorName() const;

  // Texts. Multi-line texts end every line, the last one too, with "\r\n".
  std::string GetDDL(bool ExternalMode) const;
  std::string GetExtendedDDL() const;
  std::string GetGeneratorDDL() const;
  // Built on the first call and kept: later calls return that text whatever their arguments.
  std::string GetInsertSQL(bool IncludeBlobs) const;
  std::string GetSelectSQL(std::string_view Alias, bool IncludeBlobs) const;

 private:
  TOwnedStructs<TUniqueStruct> fUniques;
  TTableRefs fThisDepends;
  TTableRefs fDependsThis;
  TOwnedStructs<TIndiceStruct> fIndices;
  bool fHasGenerator = false;
  std::unique_ptr<TDBSPrimaryKey> fPrimaryKey;
  std::string fDataScript;
  std::string fSourceClass;
  bool fIsExtendedTable = false;
  TOwnedStructs<TColumnStruct> fColumns;
  TOwnedStructs<TForeignKeyStruct> fForeignKeys;
  mutable std::string fSelectSQL;
  mutable std::string fInsertSQL;
  TTableRefs fExtendedTables;
};

// The structure of one module (one set of data classes).
class ZO_EXPORT TModuleStruct : public TBaseStruct {
  ZO_DATA_CLASS(TModuleStruct, TBaseStruct)
 public:
  TModuleStruct();
  ~TModuleStruct() override;

  // A module has no text of its own; this raises "Abstract Error".
  std::string getDDL() const override;

  int32_t Version() const { return fVersion; }
  void SetVersion(int32_t value) { fVersion = value; }

  // Owned elements: each Add takes ownership and parents the element to this module.
  const TOwnedStructs<TTableStruct>& NormalTables() const { return fNormalTables; }
  TTableStruct& AddNormalTable(std::unique_ptr<TTableStruct> table);
  const TOwnedStructs<TTableStruct>& ExtendedTables() const { return fExtendedTables; }
  TTableStruct& AddExtendedTable(std::unique_ptr<TTableStruct> table);
  const TOwnedStructs<TStoredProcedure>& Procedures() const { return fProcedures; }
  TStoredProcedure& AddProcedure(std::unique_ptr<TStoredProcedure> procedure);
  const TOwnedStructs<TTrigger>& Triggers() const { return fTriggers; }
  TTrigger& AddTrigger(std::unique_ptr<TTrigger> trigger);
  const TOwnedStructs<TUDFMethod>& UDFS() const { return fUDFS; }
  TUDFMethod& AddUDF(std::unique_ptr<TUDFMethod> method);

  // FindTable ignores the argument's case (normal tables first, then extended ones); the other
  // look-ups compare exactly, so they find an element only by its upper-case name.
  TTableStruct* FindTable(std::string_view Tablename) const;
  TStoredProcedure* FindSP(std::string_view SPName) const;
  TTrigger* FindTrigger(std::string_view TriggerName) const;
  TUDFMethod* FindUDFMethod(std::string_view UDFMethodName) const;
  int32_t getCount() const;  // normal plus extended tables

 private:
  int32_t fVersion = 0;
  // The module's own name field, apart from the element name that setName writes; nothing in
  // the library writes or reads it.
  std::string fName;
  TOwnedStructs<TTableStruct> fNormalTables;
  TOwnedStructs<TTableStruct> fExtendedTables;
  TOwnedStructs<TStoredProcedure> fProcedures;
  TOwnedStructs<TTrigger> fTriggers;
  TOwnedStructs<TUDFMethod> fUDFS;
};

}  // namespace zo
