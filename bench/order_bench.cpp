// The persistence layer against what a user would write by hand on Firebird's C++ API:
// reading a demo order with 10 items (GetDataObject) and committing a new one
// (InsertDataObject), in one run, on one embedded database (forced writes off unless asked).
//
// The hand-written side prepares its statements once, binds values as parameters and reads
// the items with one join. Both sides do the same work per operation: the read loads the
// order, its client (with city and address) and every item; the insert draws the keys from the
// same generator and commits. Rounds alternate which side goes first; each round times a
// batch of operations per side, and the ratio library/hand-written is printed as min, median
// and max over the rounds. Run it once with ZO_STATEMENT_CACHE_SIZE=0 to see the library
// without statement reuse.
//
//   order_bench [rounds=7] [operations per batch=200] [--statements] [--forced-writes]
#include <firebird/Interface.h>
#include <firebird/Message.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <zo/dbstruct/DBStructClasses.h>
#include <zo/mapping/ServerClasses.h>
#include <zo/persistence/ZoServerUtils.h>
#include <zo/platform/db/SQLConnection.h>
#include <zo/platform/script/ScriptParser.h>
#include "examples/demo/DemoClasses.h"
#include "platform/db/CreateDatabase.h"

namespace {

using namespace Firebird;
using demo::TPedido;

constexpr int kItems = 10;

zo::TDBXConnection* theConn = nullptr;
zo::TDBXConnection& Conn() { return *theConn; }

void CreateSchema(zo::TSQLConnection& layer, const std::string& database, bool forcedWrites) {
  demo::RegisterDemoClasses();
  zo::TCreateDatabaseOptions options;
  options.forcedWrites = forcedWrites;
  zo::CreateDatabaseFile(database, options);
  layer.Params().SetValue("Database", database);
  layer.Params().SetValue("User_Name", "SYSDBA");
  layer.Params().SetValue("Password", "masterkey");
  layer.Open();
  theConn = &layer.DBXConnection();
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

// What a user would write instead, on Firebird's C++ API: statements prepared once, values as
// parameters, the order with its client and city in one join and the items in one query by
// the order's key; keys drawn with gen_id inside the INSERTs.
class HandWritten {
 public:
  explicit HandWritten(const std::string& database)
      : master_(fb_get_master_interface()),
        statusObject_(master_->getStatus()),
        status_(statusObject_),
        provider_(master_->getDispatcher()) {
    IXpbBuilder* dpb =
        master_->getUtilInterface()->getXpbBuilder(&status_, IXpbBuilder::DPB, nullptr, 0);
    dpb->insertString(&status_, isc_dpb_user_name, "SYSDBA");
    dpb->insertString(&status_, isc_dpb_password, "masterkey");
    dpb->insertString(&status_, isc_dpb_lc_ctype, "UTF8");
    attachment_ = provider_->attachDatabase(
        &status_, database.c_str(), dpb->getBufferLength(&status_), dpb->getBuffer(&status_));
    dpb->dispose();
    const std::vector<unsigned char> readTpb =
        Tpb({isc_tpb_read, isc_tpb_read_committed, isc_tpb_rec_version});
    writeTpb_ = Tpb({isc_tpb_write, isc_tpb_read_committed, isc_tpb_rec_version, isc_tpb_wait});
    read_ = attachment_->startTransaction(&status_, readTpb.size(), readTpb.data());
    order_ = Prepare(
        "select p.ID, p.USUARIO_ID, p.DATAHORA_INC, p.DATAHORA_ALT, p.NUMERO, p.CLIENTE_ID, "
        "p.DATA, p.DATA_ENTREGA, p.HORA_ENTREGA, p.STATUS, p.TOTAL, c.ID, c.USUARIO_ID, "
        "c.DATAHORA_INC, c.DATAHORA_ALT, c.NOME, c.EMAIL, c.TIPO, c.ATIVO, c.DATA_CADASTRO, "
        "c.LIMITE_CREDITO, c.CIDADE_ID, c.OBSERVACOES, c.END_RUA, c.END_NUMERO, c.END_BAIRRO, "
        "c.END_OBS, d.ID, d.NOME, d.UF, d.COD_IBGE from PEDIDOS p "
        "left join CLIENTES c on c.ID = p.CLIENTE_ID left join CIDADES d on d.ID = c.CIDADE_ID "
        "where p.ID = ?");
    items_ = Prepare(
        "select ID, PEDIDO_ID, PRODUTO_ID, QUANTIDADE, PRECO_UNITARIO from ITENS_PEDIDO "
        "where PEDIDO_ID = ?");
    insertOrder_ = Prepare(
        "insert into PEDIDOS (ID, NUMERO, CLIENTE_ID, DATA, STATUS, TOTAL) "
        "values (gen_id(GEN_PEDIDOS, 1), ?, ?, ?, ?, ?) returning ID");
    insertItem_ = Prepare(
        "insert into ITENS_PEDIDO (ID, PEDIDO_ID, PRODUTO_ID, QUANTIDADE, PRECO_UNITARIO) "
        "values (gen_id(GEN_ITENS_PEDIDO, 1), ?, ?, ?, ?)");
  }
  ~HandWritten() {
    for (IStatement* s : {order_, items_, insertOrder_, insertItem_}) s->free(&status_);
    read_->commit(&status_);
    attachment_->detach(&status_);
    provider_->release();
    statusObject_->dispose();
  }

  // Every column of the order, its client and city, and its items; blobs read whole.
  int Read(int32_t orderId) {
    FB_MESSAGE(Key, ThrowStatusWrapper, (FB_INTEGER, id)) key(&status_, master_);
    key.clear();
    key->id = orderId;
    ReadRows(order_, key.getMetadata(), key.getData());
    return ReadRows(items_, key.getMetadata(), key.getData());
  }
  std::size_t Sink() const { return sink_; }

  void InsertCommitted(const TPedido& pedido) {
    FB_MESSAGE(Order, ThrowStatusWrapper,
               (FB_INTEGER, numero)(FB_INTEGER, cliente)(FB_TIMESTAMP, data)(FB_INTEGER, status)(
                   FB_DOUBLE, total))
    order(&status_, master_);
    FB_MESSAGE(Id, ThrowStatusWrapper, (FB_INTEGER, id)) id(&status_, master_);
    FB_MESSAGE(Item, ThrowStatusWrapper,
               (FB_INTEGER, pedido)(FB_INTEGER, produto)(FB_DOUBLE, quantidade)(FB_DOUBLE, preco))
    item(&status_, master_);
    ITransaction* tx = attachment_->startTransaction(&status_, writeTpb_.size(), writeTpb_.data());
    order.clear();
    order->numero = pedido.Numero;
    order->cliente = pedido.Cliente->GetCodigo();
    order->data.date.encode(master_->getUtilInterface(), 2024, 5, 1);
    order->data.time.encode(master_->getUtilInterface(), 13, 45, 0, 0);
    order->status = static_cast<int>(pedido.Status);
    order->total = pedido.Total;
    insertOrder_->execute(&status_, tx, order.getMetadata(), order.getData(), id.getMetadata(),
                          id.getData());
    item.clear();
    for (const auto& base : pedido.Itens) {
      const auto& it = static_cast<const demo::TItemPedido&>(*base);
      item->pedido = id->id;
      item->produto = it.Produto;
      item->quantidade = it.Quantidade;
      item->preco = it.PrecoUnitario;
      insertItem_->execute(&status_, tx, item.getMetadata(), item.getData(), nullptr, nullptr);
    }
    tx->commit(&status_);
  }

 private:
  IStatement* Prepare(const char* sql) {
    return attachment_->prepare(&status_, read_, 0, sql, 3, IStatement::PREPARE_PREFETCH_METADATA);
  }

  int ReadRows(IStatement* statement, IMessageMetadata* inMeta, void* in) {
    IMessageMetadata* meta = statement->getOutputMetadata(&status_);
    row_.resize(meta->getMessageLength(&status_));
    IResultSet* rs = statement->openCursor(&status_, read_, inMeta, in, meta, 0);
    int rows = 0;
    for (; rs->fetchNext(&status_, row_.data()) == IStatus::RESULT_OK; ++rows) ReadRow(meta);
    rs->close(&status_);
    meta->release();
    return rows;
  }

  void ReadRow(IMessageMetadata* meta) {
    const unsigned count = meta->getCount(&status_);
    for (unsigned i = 0; i < count; ++i) {
      short isNull;
      std::memcpy(&isNull, row_.data() + meta->getNullOffset(&status_, i), sizeof isNull);
      if (isNull) continue;
      const unsigned char* at = row_.data() + meta->getOffset(&status_, i);
      if ((meta->getType(&status_, i) & ~1u) == SQL_BLOB) {
        ISC_QUAD blobId;
        std::memcpy(&blobId, at, sizeof blobId);
        sink_ += ReadBlob(blobId).size();
      } else {
        sink_ += *at;
      }
    }
  }

  std::string ReadBlob(ISC_QUAD& blobId) {
    IBlob* blob = attachment_->openBlob(&status_, read_, &blobId, 0, nullptr);
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
  std::vector<unsigned char> writeTpb_;
  IStatement* order_ = nullptr;
  IStatement* items_ = nullptr;
  IStatement* insertOrder_ = nullptr;
  IStatement* insertItem_ = nullptr;
  std::vector<unsigned char> row_;
  std::size_t sink_ = 0;  // keeps the reads from being optimised away
};

struct Times {
  double real = 0;  // microseconds per call, wall clock
  double cpu = 0;   // microseconds per call, CPU of the whole process (engine threads included)
};

double ProcessCpuMicroseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

// Time per call of `op`, over a batch of `count` calls. On a busy machine wall time also counts
// waiting for a core; CPU time does not.
Times TimeBatch(const std::function<void()>& op, int count) {
  const double cpuStart = ProcessCpuMicroseconds();
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < count; ++i) op();
  const std::chrono::duration<double, std::micro> elapsed =
      std::chrono::steady_clock::now() - start;
  return {elapsed.count() / count, (ProcessCpuMicroseconds() - cpuStart) / count};
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

struct Series {
  std::vector<double> library, hand, ratio;
  void Add(double lib, double handWritten) {
    library.push_back(lib);
    hand.push_back(handWritten);
    ratio.push_back(lib / handWritten);
  }
  void Print(const char* name, const char* clock) const {
    const auto [lo, hi] = std::minmax_element(ratio.begin(), ratio.end());
    std::printf(
        "%-22s %-4s library %8.1f us  hand-written %7.1f us  ratio min %.2f median %.2f max %.2f\n",
        name, clock, Median(library), Median(hand), *lo, Median(ratio), *hi);
  }
};

struct Comparison {
  Comparison(const char* n, std::function<void()> lib, std::function<void()> hand)
      : name(n), library(std::move(lib)), handWritten(std::move(hand)) {}
  const char* name;
  std::function<void()> library;
  std::function<void()> handWritten;
  Series real;
  Series cpu;
};

void RunRounds(std::vector<Comparison>& comparisons, int rounds, int batch) {
  for (auto& c : comparisons) {  // warm-up: caches, pages, first preparations
    TimeBatch(c.library, batch / 10 + 1);
    TimeBatch(c.handWritten, batch / 10 + 1);
  }
  for (int round = 0; round < rounds; ++round) {
    for (auto& c : comparisons) {
      Times lib;
      Times hand;
      if (round % 2 == 0) {
        lib = TimeBatch(c.library, batch);
        hand = TimeBatch(c.handWritten, batch);
      } else {
        hand = TimeBatch(c.handWritten, batch);
        lib = TimeBatch(c.library, batch);
      }
      c.real.Add(lib.real, hand.real);
      c.cpu.Add(lib.cpu, hand.cpu);
    }
  }
  for (const auto& c : comparisons) {
    c.real.Print(c.name, "real");
    c.cpu.Print(c.name, "CPU");
  }
}
}  // namespace

int main(int argc, char** argv) {
  int rounds = 7;
  int batch = 200;
  bool statements = false;
  bool forcedWrites = false;
  std::vector<int> numbers;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--statements") == 0) {
      statements = true;
    } else if (std::strcmp(argv[i], "--forced-writes") == 0) {
      forcedWrites = true;
    } else {
      numbers.push_back(std::atoi(argv[i]));
    }
  }
  if (!numbers.empty()) rounds = std::max(3, numbers[0]);
  if (numbers.size() > 1) batch = std::max(1, numbers[1]);
  const std::filesystem::path dir =
      std::filesystem::temp_directory_path() / ("zo-order-bench-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  {
    zo::TSQLConnection layer;
    const std::string database = (dir / "bench.fdb").string();
    CreateSchema(layer, database, forcedWrites);
    Fixture fixture;
    std::vector<std::string> trace;
    layer.SetTrace([&trace](const std::string& sql) { trace.push_back(sql); });
    zo::GetDataObject(Conn(), fixture.pedidoId, &TPedido::StaticType());
    const std::size_t readStatements = trace.size();
    if (statements)
      for (const auto& s : trace) std::printf("%s\n", s.c_str());
    trace.clear();
    auto insertCommitted = [&fixture] {
      auto transaction = zo::StartTransaction(Conn());
      zo::InsertDataObject(Conn(), fixture.Fresh());
      zo::CommitTransaction(Conn(), transaction);
    };
    insertCommitted();
    if (statements)
      for (const auto& s : trace) std::printf("%s\n", s.c_str());
    std::printf("GetDataObject runs %zu statements, InsertDataObject %zu; statement cache %s\n",
                readStatements, trace.size(),
                std::getenv("ZO_STATEMENT_CACHE_SIZE") ? std::getenv("ZO_STATEMENT_CACHE_SIZE")
                                                       : "default");
    layer.SetTrace(nullptr);
    {
      HandWritten hand(database);
      if (hand.Read(fixture.pedidoId) != kItems) {
        std::fprintf(stderr, "the hand-written read found the wrong number of items\n");
        return 1;
      }
      std::vector<Comparison> comparisons;
      comparisons.emplace_back(
          "read order (10 items)",
          [&] { zo::GetDataObject(Conn(), fixture.pedidoId, &TPedido::StaticType()); },
          [&] { hand.Read(fixture.pedidoId); });
      comparisons.emplace_back("committed insert", insertCommitted,
                               [&] { hand.InsertCommitted(*fixture.pedido); });
      std::printf("%d interleaved rounds of %d operations per side, forced writes %s\n", rounds,
                  batch, forcedWrites ? "on" : "off");
      RunRounds(comparisons, rounds, batch);
    }
  }
  std::filesystem::remove_all(dir);
  return 0;
}
