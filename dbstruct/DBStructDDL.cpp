// The Firebird DDL text of each element of the structure model, and the statement heads of a
// table. The texts are exact: the double blank before CHARACTER SET, the sequence statement
// without a semicolon and the other small irregularities are what the scripts built from them
// have always contained, so they are kept.
#include <fmt/printf.h>

#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/dbstruct/DBStructClasses.h>

namespace zo {

namespace {

// The table an element was added to; raises when there is none.
const TTableStruct& RequireTable(const TBaseStruct& element) {
  const TTableStruct* table = element.OwnerTable();
  if (!table) {
    throw Exception(
        fmt::sprintf("%s %s não pertence a uma tabela", element.ClassName(), element.Name()));
  }
  return *table;
}

std::string ConstraintDDL(const TConstraintStruct& constraint, const char* kind) {
  return fmt::sprintf("ALTER TABLE %s ADD CONSTRAINT %s %s (%s);", RequireTable(constraint).Name(),
                      constraint.Name(), kind, constraint.KeyName());
}

// SQL type of a catalog field-type code, and whether its length is written after it.
struct TUDFTypeText {
  const char* text;
  bool withLength;
};

TUDFTypeText UDFTypeText(int32_t fieldType) {
  switch (fieldType) {
    case 7:
      return {"SMALLINT", false};
    case 8:
      return {"INTEGER", false};
    case 12:
      return {"DATE", false};
    case 13:
      return {"TIME", false};
    case 14:
      return {"CHAR", true};
    case 16:
      return {"BIGINT", false};
    case 27:
      return {"DOUBLE PRECISION", false};
    case 35:
      return {"TIMESTAMP", false};
    case 37:
      return {"VARCHAR", true};
    case 40:
      return {"CSTRING", true};
    case 45:
      return {"BLOB_ID", false};
    case 261:
      return {"BLOB", false};
    default:
      return {"", false};
  }
}

}  // namespace

std::string TDBSPrimaryKey::getDDL() const { return ConstraintDDL(*this, "PRIMARY KEY"); }

std::string TUniqueStruct::getDDL() const { return ConstraintDDL(*this, "UNIQUE"); }

std::string TForeignKeyStruct::getDDL() const {
  return fmt::sprintf("ALTER TABLE %s ADD CONSTRAINT %s FOREIGN KEY (%s) REFERENCES %s (%s);",
                      RequireTable(*this).Name(), Name(), KeyName(), fRefTableName, fRefKeyName);
}

std::string TColumnStruct::GetTypeString() const {
  switch (fTypeData) {
    case TDBRType::dbsChar:
      return "CHAR";
    case TDBRType::dbsString:
      return fmt::sprintf("VARCHAR(%d)  CHARACTER SET ISO8859_1", fSize);
    case TDBRType::dbsFloat:
      return "DOUBLE PRECISION";
    case TDBRType::dbsInteger:
      return "INTEGER";
    case TDBRType::dbsEnum:
      return "SMALLINT";
    case TDBRType::dbsDate:
      return "DATE";
    case TDBRType::dbsDateTime:
      return "TIMESTAMP";
    case TDBRType::dbsTime:
      return "TIME";
    case TDBRType::dbsTextBlob:
      return "BLOB SUB_TYPE 1 SEGMENT SIZE 4096 CHARACTER SET ISO8859_1";
    case TDBRType::dbsBinBlob:
      return "BLOB SUB_TYPE 0 SEGMENT SIZE 16384";
  }
  return "";
}

std::string TColumnStruct::getDDL() const {
  return fmt::sprintf("%s %s", Name(), GetTypeString() + (fRequired ? " NOT NULL" : ""));
}

std::string TDDLStruct::getDDL() const { return fStatement; }

std::string TGeneratorStruct::getDDL() const { return fmt::sprintf("CREATE SEQUENCE %s", Name()); }

std::string TIndiceStruct::getDDL() const {
  try {
    return fmt::sprintf("CREATE INDEX \"%s\" ON %s (%s);", Name(), RequireTable(*this).Name(),
                        fColumn);
  } catch (const std::exception& e) {
    throw Exception("Erro ao obter DDL do índice: " + Name() + ". " + e.what());
  }
}

std::string TUDFArgument::getDDL() const {
  const TUDFTypeText type = UDFTypeText(fFieldType);
  return type.withLength ? fmt::sprintf("%s(%d)", type.text, fSize) : fmt::sprintf("%s", type.text);
}

std::string TUDFMethod::getDDL() const {
  std::vector<std::string> lines{fmt::sprintf("DECLARE EXTERNAL FUNCTION %s", Name())};
  // The last parameter line stays in `carried` and becomes the mechanism text of the RETURNS line
  // when the return mechanism gives none of its own (by blob descriptor).
  std::string carried;
  for (size_t i = 1; i < fArguments.size(); ++i) {
    carried = fArguments[i]->getDDL() + (i + 1 < fArguments.size() ? "," : "");
    lines.push_back(carried);
  }
  if (!fArguments.empty()) {
    switch (fReturnMechanism) {
      case TUDFMechanism::trmByValue:
        carried = "BY VALUE";
        break;
      case TUDFMechanism::trmByReference:
        carried = fFreeIt ? "FREE IT " : "";
        break;
      case TUDFMechanism::trmByDescriptor:
        carried = "BY DESCRIPTOR";
        break;
      case TUDFMechanism::trmByBlobDescriptor:
        break;
    }
    lines.push_back(fmt::sprintf("RETURNS %s %s", fArguments.front()->getDDL(), carried));
  }
  lines.push_back(fmt::sprintf("ENTRY_POINT '%s' MODULE_NAME '%s';", fEntryPoint, fModuleName));
  return text::JoinLines(lines);
}

// --- TTableStruct ---

std::string TTableStruct::GetDDL(bool ExternalMode) const {
  if (fIsExtendedTable) return GetExtendedDDL();
  std::vector<std::string> lines{
      ExternalMode ? fmt::sprintf("CREATE TABLE %s$ EXTERNAL 'EXTERNAL_FILENAME' (", Name())
                   : fmt::sprintf("CREATE TABLE %s (", Name())};
  std::vector<const TColumnStruct*> columns;
  for (const TColumnStruct* column : GetAllColumns()) {
    // An external file cannot hold large objects.
    if (!(ExternalMode && column->IsBlobType())) columns.push_back(column);
  }
  for (size_t i = 0; i < columns.size(); ++i) {
    lines.push_back(
        fmt::sprintf(i + 1 < columns.size() ? "   %s," : "   %s", columns[i]->getDDL()));
  }
  lines.push_back(");");
  return text::JoinLines(lines);
}

std::string TTableStruct::GetExtendedDDL() const {
  // Only the columns the extension adds: the key column is the host table's already.
  std::vector<std::string> lines;
  for (const auto& column : fColumns) {
    if (fPrimaryKey && column->Name() == fPrimaryKey->KeyName()) continue;
    lines.push_back(fmt::sprintf("ALTER TABLE %s ADD %s;", Name(), column->getDDL()));
  }
  return text::JoinLines(lines);
}

std::string TTableStruct::GetGeneratorDDL() const {
  const std::string generator = GetGeneratorName();
  return fmt::sprintf("CREATE SEQUENCE %s;", generator) + " " +
         fmt::sprintf("ALTER SEQUENCE %s RESTART WITH 0;", generator);
}

std::string TTableStruct::GetInsertSQL(bool IncludeBlobs) const {
  if (fInsertSQL.empty()) {
    fInsertSQL =
        fmt::sprintf("INSERT INTO %s (%s) VALUES", Name(), GetFieldList("", false, IncludeBlobs));
  }
  return fInsertSQL;
}

std::string TTableStruct::GetSelectSQL(std::string_view Alias, bool IncludeBlobs) const {
  if (fSelectSQL.empty()) {
    fSelectSQL =
        fmt::sprintf("SELECT %s FROM %s tb", GetFieldList(Alias, true, IncludeBlobs), Name());
  }
  return fSelectSQL;
}

}  // namespace zo
