// Schema generation from data classes: DDL text per class, the structure model of a set of
// classes, and the creation script printed from that model. The per-class part works on the
// class's mapping and the run's TSchemaContext; nothing of a run outlives it.
#include <ctime>

#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/dbstruct/DBStructClasses.h>
#include <zo/mapping/ClassSchema.h>
#include <zo/mapping/ServerClasses.h>

namespace zo {
namespace {

bool IsClassTyped(const TRttiProperty* p) { return p->Kind() == TTypeKind::tkClass; }

bool IsEmbeddedMember(const TRttiProperty* p) {
  return IsClassTyped(p) && GetAttribSkill(p) == TPropertySkill::psEmbedded &&
         p->PropertyClass() != nullptr;
}

TDBRType ColumnType(const TRttiProperty* p) {
  const auto skill = GetAttribSkill(p);
  switch (p->Kind()) {
    case TTypeKind::tkInteger:
      return TDBRType::dbsInteger;
    case TTypeKind::tkChar:
    case TTypeKind::tkWChar:
      return TDBRType::dbsChar;
    case TTypeKind::tkEnumeration:
      return TDBRType::dbsEnum;
    case TTypeKind::tkFloat:
      if (p->TypeName() == "TDate") return TDBRType::dbsDate;
      if (p->TypeName() == "TDateTime") return TDBRType::dbsDateTime;
      if (p->TypeName() == "TTime") return TDBRType::dbsTime;
      return TDBRType::dbsFloat;
    case TTypeKind::tkClass:
      return skill == TPropertySkill::psBinaryBlob ? TDBRType::dbsBinBlob : TDBRType::dbsInteger;
    default:
      if (p->Type().IsString()) {
        return skill == TPropertySkill::psTextBlob ? TDBRType::dbsTextBlob : TDBRType::dbsString;
      }
      return TDBRType::dbsInteger;
  }
}

// The class a reference column points at: a composed object's class, or the class named by
// the annotation of a TForeignKey (whose absence is the class author's mistake).
TDataObjectClass ReferencedClass(const TRttiProperty* p, TDataObjectClass owner) {
  if (IsClassTyped(p)) return p->PropertyClass();
  const TDataObjectClass ref = GetHostClass(p);
  if (ref == nullptr) {
    throw Exception("Falta referência a uma classe no atributo da propriedade " + p->Name() +
                    " da classe : " + owner->Name());
  }
  return ref;
}

// Whether a property yields a foreign key (and of which class), per the generation rules:
// annotated object references other than binary objects, and every TForeignKey.
bool MakesForeignKey(const TRttiProperty* p) {
  if (IsAgregation(p)) return false;
  if (IsClassTyped(p)) {
    return GetAttribSkill(p) != TPropertySkill::psBinaryBlob && FirstAnnotation(p) != nullptr &&
           p->PropertyClass() != nullptr;
  }
  return p->Kind() == TTypeKind::tkInteger && p->TypeName() == "TForeignKey";
}

std::string KeepLast14WithoutUnderscores(const std::string& s) {
  return text::Right(text::ReplaceAll(s, "_", ""), 14);
}

std::string NowText() {
  const std::time_t t = std::time(nullptr);
  std::tm local{};
  localtime_r(&t, &local);
  char buf[32];
  std::strftime(buf, sizeof buf, "%d/%m/%Y %H:%M:%S", &local);
  return buf;
}

}  // namespace

TClassSchema::TClassSchema(const TClassMapping& mapping, const TSchemaContext& context,
                           TPlacement placement)
    : FMapping(mapping), FContext(context), FPlacement(std::move(placement)) {}

std::string TClassSchema::GetFieldDecl(const TRttiProperty* prop, const std::string& prefix) const {
  const auto skill = GetAttribSkill(prop);
  const std::string& typeName = prop->TypeName();
  std::string type;
  switch (prop->Kind()) {
    case TTypeKind::tkInteger:
      type = typeName == "TPrimaryKey"   ? FContext.pkDomain
             : typeName == "TForeignKey" ? FContext.fkDomain
                                         : "INTEGER";
      break;
    case TTypeKind::tkChar:
    case TTypeKind::tkWChar:
      type = "CHAR";
      break;
    case TTypeKind::tkEnumeration:
      type = FContext.enumDomain;
      break;
    case TTypeKind::tkFloat:
      type = typeName == "TDate"       ? "DATE"
             : typeName == "TDateTime" ? "TIMESTAMP"
             : typeName == "TTime"     ? "TIME"
                                       : "DOUBLE PRECISION";
      break;
    case TTypeKind::tkString:
    case TTypeKind::tkLString:
    case TTypeKind::tkWString:
    case TTypeKind::tkUString: {
      const Annotation* a = FirstAnnotation(prop);
      type = skill == TPropertySkill::psTextBlob
                 ? "BLOB SUB_TYPE 1 SEGMENT SIZE 4096 CHARACTER SET ISO8859_1"
                 : fmt::sprintf("VARCHAR(%d)", a ? a->GetSize() : 0);
      break;
    }
    case TTypeKind::tkClass:
      type = skill == TPropertySkill::psBinaryBlob ? "BLOB SUB_TYPE 0 SEGMENT SIZE 16384"
                                                   : FContext.fkDomain;
      break;
    default:
      break;
  }
  const std::string column = GetAttribName(prop);
  if (!prefix.empty()) return fmt::sprintf("%s_%s %s", prefix, column, type);
  if (IsRequired(prop)) return fmt::sprintf("%s %s NOT NULL", column, type);
  return fmt::sprintf("%s %s", column, type);
}

std::string TClassSchema::GetDataScriptResource(const std::string& name) const {
  return FindTextResource(FContext.moduleHandle, name).value_or("");
}

void TClassSchema::GenerateFieldDefs(std::vector<std::string>& list, bool ignoreKey,
                                     const std::string& fieldPrefix) const {
  for (const TRttiProperty* p : FMapping.Properties()) {
    if (IsAgregation(p) || (ignoreKey && p == FMapping.KeyProperty())) continue;
    if (IsEmbeddedMember(p)) {
      const TClassMapping member(p->PropertyClass());
      TClassSchema(member, FContext).GenerateFieldDefs(list, true, GetAttribName(p));
      continue;
    }
    list.push_back(fmt::sprintf("%s,", GetFieldDecl(p, fieldPrefix)));
  }
}

std::unique_ptr<TObjectDDL> TClassSchema::GenerateObjectDDL() const {
  auto ddl = std::make_unique<TObjectDDL>();

  std::vector<std::string> fields;
  GenerateFieldDefs(fields, false, "");
  if (!fields.empty()) fields.back() = text::ReplaceAll(fields.back(), ",", "");
  std::vector<std::string> table{"-- " + FMapping.DataClass()->Name(),
                                 fmt::sprintf("CREATE TABLE %s (", TableName())};
  table.insert(table.end(), fields.begin(), fields.end());
  table.push_back(");");
  std::string tableText;
  for (size_t i = 0; i < table.size(); ++i) tableText += (i ? "\r\n" : "") + table[i];
  ddl->SetTable(tableText);

  ddl->SetPrimaryKey(fmt::sprintf("ALTER TABLE %s ADD CONSTRAINT PK_%s PRIMARY KEY (%s);",
                                  TableName(), FMapping.TableName(), FMapping.GetKeyName()));

  std::vector<std::string> keys;
  GenerateForeignKeys(FMapping.DataClass()->GetTableName(), keys);
  std::string keysText;
  for (size_t i = 0; i < keys.size(); ++i) keysText += (i ? "\r\n" : "") + keys[i];
  ddl->SetForeignKey(keysText);
  return ddl;
}

void TClassSchema::GenerateForeignKeys(const std::string& tableName,
                                       std::vector<std::string>& list) const {
  for (const TRttiProperty* p : FMapping.Properties()) {
    if (IsEmbeddedMember(p) && FirstAnnotation(p) != nullptr) {
      // The member's own table, not this one: its keys are named after it (by design).
      const TClassMapping member(p->PropertyClass());
      TClassSchema(member, FContext, TPlacement{nullptr, GetAttribName(p)})
          .GenerateForeignKeys(tableName, list);
      continue;
    }
    if (!MakesForeignKey(p)) continue;
    const TDataObjectClass ref = ReferencedClass(p, FMapping.DataClass());
    std::string name =
        fmt::sprintf("FK_%s_%d", text::Left(tableName, 25), static_cast<int>(list.size()));
    if (tableName != TableName()) name += "_" + TableName();
    list.push_back(fmt::sprintf(
        "ALTER TABLE %s ADD CONSTRAINT %s FOREIGN KEY (%s) REFERENCES %s (%s);", tableName, name,
        FPlacement.Column(p), ref->GetTablePrefix() + ref->GetTableName(), ref->GetIdName()));
  }
}

std::unique_ptr<TTableStruct> TClassSchema::GenerateDBSTable() const {
  auto table = std::make_unique<TTableStruct>();
  table->SetIsExtendedTable(FMapping.TableMerged());
  table->setName(TableName());
  table->SetSourceClass(FMapping.DataClass()->Name());

  auto key = std::make_unique<TColumnStruct>();
  key->setName(FMapping.GetKeyName());
  key->SetTypeData(TDBRType::dbsInteger);
  key->SetRequired(true);
  if (FMapping.KeyProperty() != nullptr) key->SetSourceFieldName(FMapping.KeyProperty()->Name());
  table->AddColumn(std::move(key));
  table->PrimaryKey()->setName(fmt::sprintf("PK_%s", table->Name()));
  table->PrimaryKey()->setKeyName(FMapping.GetKeyName());

  GenerateColumns(*table, "");
  GenerateDBSForeignKeys(*table, "");
  table->SetDataScript(GetDataScriptResource(TableName()));
  return table;
}

void TClassSchema::GenerateColumns(TTableStruct& table, const std::string& prefix) const {
  const TDataObjectClass cls = FMapping.DataClass();
  for (const TRttiProperty* p : FMapping.Properties()) {
    if (p == FMapping.KeyProperty() || IsAgregation(p)) continue;
    // A merged class repeats none of what it inherits from its host.
    if (FMapping.TableMerged() && p->DeclaringClass()->Name() != cls->Name()) continue;
    if (IsEmbeddedMember(p)) {
      const TClassMapping member(p->PropertyClass());
      TClassSchema(member, FContext).GenerateColumns(table, GetAttribName(p));
      continue;
    }
    auto column = std::make_unique<TColumnStruct>();
    const std::string name =
        prefix.empty() ? GetAttribName(p) : fmt::sprintf("%s_%s", prefix, GetAttribName(p));
    column->setName(name);
    column->SetIndexed(IsIndexed(p));
    column->SetRequired(prefix.empty() && IsRequired(p));
    column->SetTypeData(ColumnType(p));
    column->SetSourceFieldName(p->Name());
    if (column->TypeData() == TDBRType::dbsString) {
      const Annotation* a = FirstAnnotation(p);
      column->SetSize(a != nullptr ? a->GetSize() : 0);
    }
    if (GetAttribSkill(p) == TPropertySkill::psUnique) {
      auto unique = std::make_unique<TUniqueStruct>();
      unique->setName(text::Left(table.Name(), 16) + text::Left(name, 15));
      unique->setKeyName(name);
      table.AddUnique(std::move(unique));
    }
    table.AddColumn(std::move(column));
  }
}

void TClassSchema::GenerateDBSForeignKeys(TTableStruct& table, const std::string& prefix) const {
  for (const TRttiProperty* p : FMapping.Properties()) {
    if (IsEmbeddedMember(p) && FirstAnnotation(p) != nullptr) {
      const TClassMapping member(p->PropertyClass());
      TClassSchema(member, FContext).GenerateDBSForeignKeys(table, GetAttribName(p));
      continue;
    }
    if (!MakesForeignKey(p)) continue;
    const TDataObjectClass ref = ReferencedClass(p, FMapping.DataClass());
    const std::string refTable = ref->GetTablePrefix() + ref->GetTableName();
    const std::string tablePart =
        prefix.empty() ? table.Name() : text::Left(prefix, 7) + text::Left(table.Name(), 70);
    const std::string name = text::UpperCase(
        text::Left(fmt::sprintf("%s%s%s", text::Left(FContext.moduleName, 4),
                                KeepLast14WithoutUnderscores(tablePart),
                                KeepLast14WithoutUnderscores(refTable)),
                   31));
    THashFKs* const made = FContext.hashFKs;
    if (made != nullptr && made->count(name) > 0) continue;
    auto fk = std::make_unique<TForeignKeyStruct>();
    fk->setName(name);
    fk->setKeyName(prefix.empty() ? GetAttribName(p)
                                  : fmt::sprintf("%s_%s", prefix, GetAttribName(p)));
    fk->setRefTableName(refTable);
    fk->setRefKeyName(ref->GetIdName());
    TForeignKeyStruct& added = table.AddForeignKey(std::move(fk));
    if (made != nullptr) (*made)[name] = &added;
  }
}

// The metadata's own schema methods: this class at its placement, default column types.
std::unique_ptr<TObjectDDL> TDataObjectInfoDB::GenerateObjectDDL() const {
  return Schema().GenerateObjectDDL();
}

void TDataObjectInfoDB::GenerateFieldDefs(std::vector<std::string>& list, bool ignoreKey,
                                          const std::string& fieldPrefix) const {
  Schema().GenerateFieldDefs(list, ignoreKey, fieldPrefix);
}

void TDataObjectInfoDB::GenerateForeignKeys(const std::string& tableName,
                                            std::vector<std::string>& list) const {
  Schema().GenerateForeignKeys(tableName, list);
}

std::unique_ptr<TTableStruct> TDataObjectInfoDB::GenerateDBSTable() const {
  return Schema().GenerateDBSTable();
}

void TDataObjectInfoDB::GenerateColumns(TTableStruct& table, const std::string& prefix) const {
  Schema().GenerateColumns(table, prefix);
}

void TDataObjectInfoDB::GenerateDBSForeignKeys(TTableStruct& table,
                                               const std::string& prefix) const {
  Schema().GenerateDBSForeignKeys(table, prefix);
}

std::unique_ptr<TModuleStruct> TDataObjectInfoDB::GenerateDataBaseStruct(
    THandle moduleHandle, const std::string& moduleName,
    const std::vector<TDataObjectClass>& classes) {
  auto module = std::make_unique<TModuleStruct>();
  THashFKs hashFKs;
  TSchemaContext context;
  context.moduleName = moduleName;
  context.moduleHandle = moduleHandle;
  context.hashFKs = &hashFKs;
  for (const TDataObjectClass cls : classes) {
    try {
      const TClassMapping mapping(cls);
      auto table = TClassSchema(mapping, context).GenerateDBSTable();
      if (mapping.TableMerged()) {
        module->AddExtendedTable(std::move(table));
      } else {
        module->AddNormalTable(std::move(table));
      }
    } catch (const std::exception& e) {
      // The cause is part of the format text, so a '%' in it acts as a directive.
      std::string message;
      try {
        message = fmt::sprintf("Erro na estrutura da Classe: %s\r\n" + std::string(e.what()),
                               cls->Name());
      } catch (const fmt::format_error& formatError) {
        message = formatError.what();
      }
      throw Exception(message);
    }
  }
  return module;
}

std::string TDataObjectInfoDB::GenerateScriptDataBase(const TModuleStruct& db) {
  std::vector<std::string> lines;
  lines.push_back("/*******SCRIPT GERADO AUTOMATICAMENTE - TOLVERN INFORMATICA ********");
  lines.push_back(fmt::sprintf("Data/Hora: %s", NowText()));
  lines.push_back("");
  lines.push_back("Classes de origem:");
  for (const auto& t : db.NormalTables()) {
    lines.push_back(fmt::sprintf("  %s(%s)", t->SourceClass(), t->Name()));
  }
  for (const auto& t : db.ExtendedTables()) {
    lines.push_back(fmt::sprintf("  %s(%s)", t->SourceClass(), t->Name()));
  }
  lines.push_back("*/");
  lines.push_back("");

  lines.push_back("/****************** TABELAS ********************/");
  for (const auto& t : db.NormalTables()) lines.push_back(t->GetDDL(false));
  lines.push_back("");

  lines.push_back("/**************** CHAVES PRIMARIAS ********************/");
  for (const auto& t : db.NormalTables()) lines.push_back(t->PrimaryKey()->getDDL());
  lines.push_back("");

  lines.push_back("/**************** CHAVES ESTRANGEIRAS ********************/");
  for (const auto& t : db.NormalTables()) {
    for (const auto& fk : t->ForeignKeys()) lines.push_back(fk->getDDL());
  }
  lines.push_back("");

  lines.push_back("/****************** EXTENSÕES de TABELAS ********************/");
  for (const auto& t : db.ExtendedTables()) lines.push_back(t->GetDDL(false));

  lines.push_back("/**************** CHAVES ESTRANGEIRAS EXTENDIDAS ********************/");
  for (const auto& t : db.ExtendedTables()) {
    for (const auto& fk : t->ForeignKeys()) lines.push_back(fk->getDDL());
  }
  lines.push_back("");

  // After the extended tables, whose added columns may be unique too.
  lines.push_back("/**************** CHAVES UNICAS ********************/");
  for (const auto* tables : {&db.NormalTables(), &db.ExtendedTables()}) {
    for (const auto& t : *tables) {
      for (const auto& unique : t->Uniques()) lines.push_back(unique->getDDL());
    }
  }
  lines.push_back("");

  lines.push_back("/**************** GERADORES ********************/");
  for (const auto& t : db.NormalTables()) lines.push_back(t->GetGeneratorDDL());
  lines.push_back("");
  return text::JoinLines(lines);
}

std::string TDataObjectInfoDB::GenerateStoredProcedureScript(const TModuleStruct& db) {
  std::vector<std::string> lines{"/**************** STORED PROCEDURES ********************/"};
  for (const auto& sp : db.Procedures()) lines.push_back(sp->getDDL());
  return text::JoinLines(lines);
}

}  // namespace zo
