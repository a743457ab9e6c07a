#pragma once

#include <zo/dao/GenericDAO.h>

namespace demo {

// The products' DAO: refuses products that no one could sell.
class TProdutoDAO : public zo::TGenericDAO {
 public:
  using TGenericDAO::TGenericDAO;
  std::string ClassName() const override { return "TProdutoDAO"; }
  // A product needs a positive price, a non-negative stock, and a bar code of 8 to 14 digits
  // when it has one.
  void Validate(zo::TBaseDataObject& obj) override;
  // Validation also guards the writes.
  int32_t Insert(zo::TBaseDataObject& obj) override;
  void Update(zo::TBaseDataObject& obj) override;
};

}  // namespace demo
