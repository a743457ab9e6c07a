#include "examples/demo/DemoDAO.h"

#include <algorithm>

#include <zo/core/Exceptions.h>
#include "examples/demo/DemoClasses.h"

namespace demo {

void TProdutoDAO::Validate(zo::TBaseDataObject& obj) {
  const auto* produto = dynamic_cast<const TProduto*>(&obj);
  if (produto == nullptr) return;
  if (produto->Preco <= 0) {
    throw zo::Exception("O preço do produto \"" + produto->Descricao +
                        "\" deve ser maior que zero");
  }
  if (produto->Estoque < 0) {
    throw zo::Exception("O estoque do produto \"" + produto->Descricao +
                        "\" não pode ser negativo");
  }
  const std::string& code = produto->CodigoBarras;
  const bool digits =
      std::all_of(code.begin(), code.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (!code.empty() && (!digits || code.size() < 8 || code.size() > 14)) {
    throw zo::Exception("Código de barras inválido: \"" + code + "\" (8 a 14 dígitos)");
  }
}

int32_t TProdutoDAO::Insert(zo::TBaseDataObject& obj) {
  Validate(obj);
  return TGenericDAO::Insert(obj);
}

void TProdutoDAO::Update(zo::TBaseDataObject& obj) {
  Validate(obj);
  TGenericDAO::Update(obj);
}

}  // namespace demo
