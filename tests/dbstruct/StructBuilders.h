#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <zo/dbstruct/DBStructClasses.h>

// Short-hands that build structure elements for the tests.
namespace zo::testing {

inline TColumnStruct& AddColumn(TTableStruct& table, std::string_view name, TDBRType type,
                                int32_t size = 0, bool required = false) {
  auto column = std::make_unique<TColumnStruct>();
  column->setName(name);
  column->SetTypeData(type);
  column->SetSize(size);
  column->SetRequired(required);
  return table.AddColumn(std::move(column));
}

// With a key name, the table gets a required INTEGER key column and PK_<name> on it.
inline std::unique_ptr<TTableStruct> MakeTable(std::string_view name, std::string_view key = "") {
  auto table = std::make_unique<TTableStruct>();
  table->setName(name);
  if (!key.empty()) {
    AddColumn(*table, key, TDBRType::dbsInteger, 0, true);
    table->PrimaryKey()->setName("PK_" + std::string(name));
    table->PrimaryKey()->setKeyName(key);
  }
  return table;
}

inline TForeignKeyStruct& AddForeignKey(TTableStruct& table, std::string_view name,
                                        std::string_view column, std::string_view refTable,
                                        std::string_view refKey) {
  auto key = std::make_unique<TForeignKeyStruct>();
  key->setName(name);
  key->setKeyName(column);
  key->setRefTableName(refTable);
  key->setRefKeyName(refKey);
  return table.AddForeignKey(std::move(key));
}

inline TUniqueStruct& AddUnique(TTableStruct& table, std::string_view name,
                                std::string_view column) {
  auto unique = std::make_unique<TUniqueStruct>();
  unique->setName(name);
  unique->setKeyName(column);
  return table.AddUnique(std::move(unique));
}

inline std::unique_ptr<TUDFArgument> MakeArgument(int32_t fieldType, int32_t size = 0) {
  auto argument = std::make_unique<TUDFArgument>();
  argument->SetFieldType(fieldType);
  argument->SetSize(size);
  return argument;
}

template <class T>
std::vector<std::string> Names(const std::vector<T*>& elements) {
  std::vector<std::string> names;
  for (const T* element : elements) names.push_back(element->Name());
  return names;
}

}  // namespace zo::testing
