#include "examples/demo/DemoAction.h"

#include <cmath>

#include <fmt/format.h>

#include <zo/core/Exceptions.h>
#include "examples/demo/DemoClasses.h"
#include <zo/persistence/ZoServerUtils.h>
#include <zo/platform/db/SQLConnection.h>

namespace demo {

int32_t TRecalcularTotaisAction::ExecuteAction() {
  if (SQLConnection() == nullptr)
    throw zo::Exception("Conexão não atribuída: TRecalcularTotaisAction");
  auto& connection = SQLConnection()->DBXConnection();
  auto transaction = zo::StartTransaction(connection);
  const auto pedidos = zo::GetDataObjectByCondition(connection, &TPedido::StaticType(), "");
  auto& progress = ActionProgress();
  progress.SetTitle("Recalculando totais dos pedidos");
  progress.SetMax(static_cast<int32_t>(pedidos.size()));
  int32_t changed = 0;
  for (const auto& object : pedidos) {
    auto& pedido = static_cast<TPedido&>(*object);
    double total = 0;
    for (const auto& item : pedido.Itens) {
      const auto& i = static_cast<const TItemPedido&>(*item);
      total += i.Quantidade * i.PrecoUnitario;
    }
    if (std::fabs(total - pedido.Total) > 0.005) {
      zo::ExecuteSqlCmd(connection, fmt::format("update PEDIDOS set TOTAL = {} where ID = {}",
                                                total, pedido.GetCodigo()));
      ++changed;
    }
    const int32_t before = progress.GetPosition();
    AdvanceProgress();
    // The job line changes with the percent, not with every order: each change is a round
    // trip to the client.
    if (progress.GetPosition() != before) {
      progress.SetSubTitle(fmt::format("Pedido {}", pedido.Numero));
    }
  }
  zo::CommitTransaction(connection, transaction);
  return changed;
}

}  // namespace demo
