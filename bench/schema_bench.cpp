// The cost of TDataBaseManager::MakeScript on large models: a database model and a classes'
// model of N tables of 20 columns each (a key, a reference with its foreign key, strings,
// integers, dates, floats), where one column in twenty differs: a string that grew, a column
// the classes added, or one they dropped, in turn. The models are built once; only the
// comparison and the script text are timed.
//
//   schema_bench --benchmark_filter=MakeScript
#include <benchmark/benchmark.h>

#include <fmt/format.h>

#include <memory>
#include <string>

#include <zo/dbstruct/DBStructClasses.h>
#include <zo/schema/DBManager.h>

namespace {

using zo::TDBRType;
using zo::TModuleStruct;
using zo::TTableStruct;

constexpr int kColumns = 20;

void AddColumn(TTableStruct& table, const std::string& name, TDBRType type, int32_t size = 0,
               bool required = false) {
  auto column = std::make_unique<zo::TColumnStruct>();
  column->setName(name);
  column->SetTypeData(type);
  column->SetSize(size);
  column->SetRequired(required);
  table.AddColumn(std::move(column));
}

// Table i of either model. `changed` applies the table's one difference (kind i % 3).
void AddTable(TModuleStruct& module, int i, bool changed) {
  auto table = std::make_unique<TTableStruct>();
  table->setName(fmt::format("TABELA_{:05}", i));
  table->SetSourceClass(fmt::format("TClasse{:05}", i));
  table->PrimaryKey()->setName(fmt::format("PK_TABELA_{:05}", i));
  table->PrimaryKey()->setKeyName("ID");
  AddColumn(*table, "ID", TDBRType::dbsInteger, 0, true);
  AddColumn(*table, "REF_ID", TDBRType::dbsInteger);
  if (i > 0) {
    auto key = std::make_unique<zo::TForeignKeyStruct>();
    key->setName(fmt::format("APPTABELA{:05}TABELA{:05}", i, i - 1));
    key->setKeyName("REF_ID");
    key->setRefTableName(fmt::format("TABELA_{:05}", i - 1));
    key->setRefKeyName("ID");
    table->AddForeignKey(std::move(key));
  }
  static const TDBRType kTypes[] = {TDBRType::dbsString, TDBRType::dbsInteger, TDBRType::dbsDate,
                                    TDBRType::dbsFloat};
  const int kind = i % 3;
  for (int c = 2; c < kColumns - 1; ++c) {
    const TDBRType type = kTypes[c % 4];
    const bool grows = c == 4 && kind == 0;  // column 4 is a string
    AddColumn(*table, fmt::format("COLUNA_{:02}", c), type,
              type == TDBRType::dbsString ? (grows && changed ? 60 : 40) : 0);
  }
  // The last column: added by the classes (kind 1) or dropped by them (kind 2).
  const bool present = kind == 0 || (kind == 1 && changed) || (kind == 2 && !changed);
  if (present) AddColumn(*table, "COLUNA_19", TDBRType::dbsInteger);
  module.AddNormalTable(std::move(table));
}

struct Models {
  TModuleStruct database;
  TModuleStruct classes;
  explicit Models(int tables) {
    for (int i = 0; i < tables; ++i) {
      AddTable(database, i, false);
      AddTable(classes, i, true);
    }
  }
};

void BM_MakeScript(benchmark::State& state) {
  const int tables = static_cast<int>(state.range(0));
  const Models models(tables);
  const TModuleStruct& database = models.database;
  const TModuleStruct& classes = models.classes;
  zo::TDataBaseManager manager;
  manager.SetCurrentStruct(&database);
  manager.SetNewStruct(&classes);

  size_t bytes = 0;
  for (auto _ : state) {
    const std::string script = manager.MakeScript();
    bytes = script.size();
    benchmark::DoNotOptimize(script.data());
  }
  state.counters["script_bytes"] = static_cast<double>(bytes);
  state.SetComplexityN(tables);
}
BENCHMARK(BM_MakeScript)
    ->Arg(250)
    ->Arg(500)
    ->Arg(1000)
    ->Arg(2000)
    ->Arg(4000)
    ->Arg(8000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

// For comparison: pairing every table through the linear findTableStructByClassname, which is
// what MakeScript would cost without its index (quadratic in the table count).
void BM_PairingByLinearLookup(benchmark::State& state) {
  const Models models(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    for (const auto& table : models.classes.NormalTables()) {
      benchmark::DoNotOptimize(
          zo::TDataBaseManager::findTableStructByClassname(table->SourceClass(), &models.database));
    }
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_PairingByLinearLookup)
    ->Arg(500)
    ->Arg(1000)
    ->Arg(2000)
    ->Arg(4000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oNSquared);

}  // namespace

BENCHMARK_MAIN();
