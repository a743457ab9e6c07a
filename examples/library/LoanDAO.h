#pragma once

#include <string>

#include <zo/dao/GenericDAO.h>

namespace library {

// The loans' DAO: a loan is refused unless it lends between one and kMaxBooks books, each
// once, to a member, with a due date on or after the loan date.
class TLoanDAO : public zo::TGenericDAO {
 public:
  static constexpr int kMaxBooks = 5;

  using TGenericDAO::TGenericDAO;
  std::string ClassName() const override { return "TLoanDAO"; }
  void Validate(zo::TBaseDataObject& obj) override;
  // The rule guards the writes too, not only an explicit Validate from the client.
  int32_t Insert(zo::TBaseDataObject& obj) override;
  void Update(zo::TBaseDataObject& obj) override;
};

}  // namespace library
