// What the persistence layer costs over the statements it runs: GetDataObject of a demo order
// with 10 items, and InsertDataObject of such an order, against a replay of the very same
// statement texts (taken from the layer's statement trace) through Firebird's object API.
//
// Both sides use their own attachment to one embedded database (forced writes off), prepare
// each statement per execution, read every column of every row (text blobs included), run
// reads in a held read-only read-committed transaction, and run each insert in a read-write
// transaction that is rolled back (the same captured texts can then be replayed again and
// again). The same texts are also replayed through the SQL layer alone, to tell the
// persistence code's cost from the layer's below it. Prints the ratios of the medians.
#include <firebird/Interface.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <zo/dbstruct/DBStructClasses.h>
#include "examples/demo/DemoClasses.h"
#include <zo/mapping/ServerClasses.h>
#include <zo/persistence/ZoServerUtils.h>
#include "platform/db/CreateDatabase.h"
#include <zo/platform/db/DataTypes.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/platform/script/ScriptParser.h>

namespace {

using namespace Firebird;
using demo::TPedido;

constexpr int kItems = 10;

struct Target {
  std::filesystem::path dir = std::filesystem::temp_directory_path() /
                              ("zo-persistence-bench-" + std::to_string(::getpid()));
  std::string database = (dir / "bench.fdb").string();
  Target() { std::filesystem::create_directories(dir); }
  ~Target() { std::filesystem::remove_all(dir); }
};

class Fixture;
class Raw;

// Everything the run creates, owned by main() and torn down before main() returns: the
// embedded engine's own clean-up runs at exit and must find every attachment gone.
struct BenchRun {
  Target target;
  zo::TSQLConnection layer;
  std::unique_ptr<Fixture> fixture;
  std::vector<std::string> getTrace;
  std::vector<std::string> insertTrace;
  std::unique_ptr<Raw> raw;
};

BenchRun* theRun = nullptr;

Target& TheTarget() { return theRun->target; }
zo::TSQLConnection& Layer() { return theRun->layer; }
zo::TDBXConnection& Conn() { return Layer().DBXConnection(); }

// The demo schema, as the schema generator prints it.
void CreateSchema() {
  demo::RegisterDemoClasses();
  zo::TCreateDatabaseOptions options;
  options.forcedWrites = false;
  zo::CreateDatabaseFile(TheTarget().database, options);
  Layer().Params().SetValue("Database", TheTarget().database);
  Layer().Params().SetValue("User_Name", "SYSDBA");
  Layer().Params().SetValue("Password", "masterkey");
  Layer().Open();
  const auto module = zo::TDataObjectInfoDB::GenerateDataBaseStruct(
      zo::HInstance, demo::kDemoModuleName, demo::DemoTableClasses());
  for (const auto& statement :
       zo::SplitScript(zo::TDataObjectInfoDB::GenerateScriptDataBase(*module))) {
    zo::ExecuteSqlCmd(Conn(), statement.text);
  }
}

// A client with a city, an address and notes, a product, and an order template of 10 items.
class Fixture {
 public:
  int32_t pedidoId = 0;
  std::unique_ptr<TPedido> pedido;

  Fixture() {
    demo::TCidade cidade;
    cidade.Nome = "Recife";
    cidade.UF = "PE";
    zo::InsertDataObject(Conn(), cidade);
    demo::TCliente cliente;
    cliente.Nome = "Ana";
    cliente.Observacoes = "cliente desde 2010, paga em dia";
    cliente.Cidade = zo::StaticCastOwned<demo::TCidade>(
        zo::GetDataObject(Conn(), cidade.Codigo, &demo::TCidade::StaticType()));
    cliente.Endereco = std::make_unique<demo::TEndereco>();
    cliente.Endereco->Rua = "Rua da Aurora";
    cliente.Endereco->Numero = 42;
    zo::InsertDataObject(Conn(), cliente);
    demo::TProduto produto;
    produto.Descricao = "Caneta";
    zo::InsertDataObject(Conn(), produto);

    pedido = std::make_unique<TPedido>();
    pedido->Numero = 1;
    pedido->Cliente = zo::StaticCastOwned<demo::TCliente>(
        zo::GetDataObject(Conn(), cliente.Codigo, &demo::TCliente::StaticType()));
    pedido->Data = zo::TDateTime::FromParts(2024, 5, 1, 13, 45);
    for (int i = 0; i < kItems; ++i) {
      auto& item = pedido->Itens.AddNew();
      item.Produto = produto.GetCodigo();
      item.Quantidade = i + 1;
      item.PrecoUnitario = 2.5;
    }
    pedidoId = zo::InsertDataObject(Conn(), *pedido);
  }

  // Makes the template new again, so that each insert draws fresh identifiers.
  TPedido& Fresh() {
    pedido->Codigo = -1;
    for (const auto& item : pedido->Itens) item->Codigo = -1;
    return *pedido;
  }
};

Fixture& TheFixture() { return *theRun->fixture; }

void InsertInRolledBackTransaction(TPedido& pedido) {
  auto transaction = zo::StartTransaction(Conn());
  zo::InsertDataObject(Conn(), pedido);
  zo::RollbackTransaction(Conn(), transaction);
}

// The statement texts the layer runs for one call.
template <class F>
std::vector<std::string> Capture(F call) {
  std::vector<std::string> trace;
  Layer().SetTrace([&trace](const std::string& sql) { trace.push_back(sql); });
  call();
  Layer().SetTrace(nullptr);
  return trace;
}

// The raw side: Firebird's object API directly, one attachment for the whole run.
class Raw {
 public:
  Raw()
      : master_(fb_get_master_interface()),
        statusObject_(master_->getStatus()),
        status_(statusObject_),
        provider_(master_->getDispatcher()) {
    IXpbBuilder* dpb =
        master_->getUtilInterface()->getXpbBuilder(&status_, IXpbBuilder::DPB, nullptr, 0);
    dpb->insertString(&status_, isc_dpb_user_name, "SYSDBA");
    dpb->insertString(&status_, isc_dpb_password, "masterkey");
    dpb->insertString(&status_, isc_dpb_lc_ctype, "UTF8");
    attachment_ =
        provider_->attachDatabase(&status_, TheTarget().database.c_str(),
                                  dpb->getBufferLength(&status_), dpb->getBuffer(&status_));
    dpb->dispose();
    readTpb_ = Tpb({isc_tpb_read, isc_tpb_read_committed, isc_tpb_rec_version});
    writeTpb_ = Tpb({isc_tpb_write, isc_tpb_read_committed, isc_tpb_rec_version, isc_tpb_wait});
    read_ = attachment_->startTransaction(&status_, readTpb_.size(), readTpb_.data());
  }
  ~Raw() {
    read_->commit(&status_);
    attachment_->detach(&status_);
    provider_->release();
    statusObject_->dispose();
  }

  void ReplayReads(const std::vector<std::string>& statements) {
    for (const auto& sql : statements) Run(read_, sql);
  }

  void ReplayInRolledBackTransaction(const std::vector<std::string>& statements) {
    ITransaction* tx = attachment_->startTransaction(&status_, writeTpb_.size(), writeTpb_.data());
    for (const auto& sql : statements) Run(tx, sql);
    tx->rollback(&status_);
  }

 private:
  void Run(ITransaction* tx, const std::string& sql) {
    IStatement* stmt = attachment_->prepare(&status_, tx, 0, sql.c_str(), 3,
                                            IStatement::PREPARE_PREFETCH_METADATA);
    if (stmt->getFlags(&status_) & IStatement::FLAG_HAS_CURSOR) {
      IMessageMetadata* meta = stmt->getOutputMetadata(&status_);
      row_.resize(meta->getMessageLength(&status_));
      IResultSet* rs = stmt->openCursor(&status_, tx, nullptr, nullptr, meta, 0);
      while (rs->fetchNext(&status_, row_.data()) == IStatus::RESULT_OK) ReadRow(meta, tx);
      rs->close(&status_);
      meta->release();
    } else {
      stmt->execute(&status_, tx, nullptr, nullptr, nullptr, nullptr);
    }
    stmt->free(&status_);
  }

  // Touches every column; a blob is read whole, as the layer does for a text column.
  void ReadRow(IMessageMetadata* meta, ITransaction* tx) {
    const unsigned count = meta->getCount(&status_);
    for (unsigned i = 0; i < count; ++i) {
      short isNull;
      std::memcpy(&isNull, row_.data() + meta->getNullOffset(&status_, i), sizeof isNull);
      if (isNull) continue;
      const unsigned char* at = row_.data() + meta->getOffset(&status_, i);
      if ((meta->getType(&status_, i) & ~1u) == SQL_BLOB) {
        ISC_QUAD id;
        std::memcpy(&id, at, sizeof id);
        benchmark::DoNotOptimize(ReadBlob(tx, id));
      } else {
        benchmark::DoNotOptimize(*at);
      }
    }
  }

  std::string ReadBlob(ITransaction* tx, ISC_QUAD& id) {
    IBlob* blob = attachment_->openBlob(&status_, tx, &id, 0, nullptr);
    std::string bytes;
    char buffer[16384];
    unsigned got = 0;
    for (;;) {
      const int result = blob->getSegment(&status_, sizeof buffer, buffer, &got);
      if (result != IStatus::RESULT_OK && result != IStatus::RESULT_SEGMENT) break;
      bytes.append(buffer, got);
    }
    blob->close(&status_);
    return bytes;
  }

  std::vector<unsigned char> Tpb(std::initializer_list<unsigned char> tags) {
    IXpbBuilder* tpb =
        master_->getUtilInterface()->getXpbBuilder(&status_, IXpbBuilder::TPB, nullptr, 0);
    for (unsigned char tag : tags) tpb->insertTag(&status_, tag);
    if (tags.size() == 4) tpb->insertInt(&status_, isc_tpb_lock_timeout, 10);
    const unsigned char* bytes = tpb->getBuffer(&status_);
    std::vector<unsigned char> result(bytes, bytes + tpb->getBufferLength(&status_));
    tpb->dispose();
    return result;
  }

  IMaster* master_;
  IStatus* statusObject_;
  ThrowStatusWrapper status_;
  IProvider* provider_;
  IAttachment* attachment_ = nullptr;
  ITransaction* read_ = nullptr;
  std::vector<unsigned char> readTpb_;
  std::vector<unsigned char> writeTpb_;
  std::vector<unsigned char> row_;
};

Raw& TheRaw() { return *theRun->raw; }

const std::vector<std::string>& GetTrace() { return theRun->getTrace; }
const std::vector<std::string>& InsertTrace() { return theRun->insertTrace; }

void BM_GetPedido_Persistence(benchmark::State& state) {
  for (auto _ : state) {
    auto pedido = zo::GetDataObject(Conn(), TheFixture().pedidoId, &TPedido::StaticType());
    benchmark::DoNotOptimize(pedido.get());
  }
  state.counters["statements"] = static_cast<double>(GetTrace().size());
}

void BM_GetPedido_Raw(benchmark::State& state) {
  for (auto _ : state) TheRaw().ReplayReads(GetTrace());
}

void BM_InsertPedido_Persistence(benchmark::State& state) {
  for (auto _ : state) InsertInRolledBackTransaction(TheFixture().Fresh());
  state.counters["statements"] = static_cast<double>(InsertTrace().size());
}

void BM_InsertPedido_Raw(benchmark::State& state) {
  for (auto _ : state) TheRaw().ReplayInRolledBackTransaction(InsertTrace());
}

// The same texts through the SQL layer alone: what the layer below the persistence code costs.
void ReplayThroughSqlLayer(const std::vector<std::string>& statements) {
  for (const auto& sql : statements) {
    auto command = Conn().CreateCommand();
    command->SetText(sql);
    if (!sql.starts_with("select") && !sql.starts_with("execute")) {
      command->ExecuteUpdate();
      continue;
    }
    auto reader = command->ExecuteQuery();
    while (reader->Next()) {
      for (int i = 0; i < reader->ColumnCount(); ++i) {
        if (reader->GetColumnType(i) == zo::TDBXDataTypes::BlobType) {
          benchmark::DoNotOptimize(reader->GetBytes(i));
        } else {
          benchmark::DoNotOptimize(reader->IsNull(i));
        }
      }
    }
  }
}

void BM_GetPedido_SqlLayer(benchmark::State& state) {
  for (auto _ : state) ReplayThroughSqlLayer(GetTrace());
}

void BM_InsertPedido_SqlLayer(benchmark::State& state) {
  for (auto _ : state) {
    auto transaction = zo::StartTransaction(Conn());
    ReplayThroughSqlLayer(InsertTrace());
    zo::RollbackTransaction(Conn(), transaction);
  }
}

BENCHMARK(BM_GetPedido_Raw);
BENCHMARK(BM_GetPedido_SqlLayer);
BENCHMARK(BM_GetPedido_Persistence);
BENCHMARK(BM_InsertPedido_Raw);
BENCHMARK(BM_InsertPedido_SqlLayer);
BENCHMARK(BM_InsertPedido_Persistence);

// Keeps each benchmark's median real and CPU time per iteration for the ratios printed at the
// end. On a busy machine real time also counts waiting for a core; CPU time does not.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
        medians_[run.run_name.function_name] = {run.GetAdjustedRealTime(),
                                                run.GetAdjustedCPUTime()};
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void PrintRatios() const {
    for (const char* operation : {"GetPedido", "InsertPedido"}) {
      PrintRatio(operation, "Persistence", "Raw");
      PrintRatio(operation, "Persistence", "SqlLayer");
      PrintRatio(operation, "SqlLayer", "Raw");
    }
  }

 private:
  struct Times {
    double real = 0;
    double cpu = 0;
  };

  void PrintRatio(const std::string& operation, const std::string& over,
                  const std::string& under) const {
    const auto a = medians_.find("BM_" + operation + "_" + over);
    const auto b = medians_.find("BM_" + operation + "_" + under);
    if (a == medians_.end() || b == medians_.end()) return;
    std::printf("%s %s/%s ratio: %.3f real, %.3f CPU\n", operation.c_str(), over.c_str(),
                under.c_str(), a->second.real / b->second.real, a->second.cpu / b->second.cpu);
  }

  std::map<std::string, Times> medians_;
};

}  // namespace

int main(int argc, char** argv) {
  // Medians of interleaved repetitions, so that a noisy neighbour on a shared machine hits
  // both sides alike; command-line flags still override these.
  std::vector<char*> args(argv, argv + argc);
  std::string repetitions = "--benchmark_repetitions=7";
  std::string interleave = "--benchmark_enable_random_interleaving=true";
  std::string minTime = "--benchmark_min_time=0.3";
  args.insert(args.begin() + 1, {repetitions.data(), interleave.data(), minTime.data()});
  int count = static_cast<int>(args.size());
  benchmark::Initialize(&count, args.data());
  BenchRun run;
  theRun = &run;
  CreateSchema();
  // The data, both traces and the raw attachment, before anything is timed.
  run.fixture = std::make_unique<Fixture>();
  run.getTrace =
      Capture([] { zo::GetDataObject(Conn(), TheFixture().pedidoId, &TPedido::StaticType()); });
  run.insertTrace = Capture([] { InsertInRolledBackTransaction(TheFixture().Fresh()); });
  run.raw = std::make_unique<Raw>();
  std::printf("GetDataObject runs %zu statements, InsertDataObject %zu\n", GetTrace().size(),
              InsertTrace().size());
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios();
  benchmark::Shutdown();
  return 0;
}
