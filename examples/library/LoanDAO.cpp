#include "LoanDAO.h"

#include <set>

#include <zo/core/Exceptions.h>

#include "LibraryClasses.h"

namespace library {

void TLoanDAO::Validate(zo::TBaseDataObject& obj) {
  TGenericDAO::Validate(obj);
  const auto* loan = dynamic_cast<const TLoan*>(&obj);
  if (loan == nullptr) return;
  if (!loan->Member || loan->Member->GetCodigo() <= 0) {
    throw zo::Exception("A loan needs a stored member");
  }
  if (loan->LoanDate.IsZero() || loan->DueDate.IsZero()) {
    throw zo::Exception("A loan needs a loan date and a due date");
  }
  if (loan->DueDate.value < loan->LoanDate.value) {
    throw zo::Exception("The due date " + loan->DueDate.ToIso() + " is before the loan date " +
                        loan->LoanDate.ToIso());
  }
  const auto count = static_cast<int>(loan->Items.Count());
  if (count < 1 || count > kMaxBooks) {
    throw zo::Exception("A loan lends 1 to " + std::to_string(kMaxBooks) + " books, not " +
                        std::to_string(count));
  }
  std::set<int32_t> books;
  for (const auto& object : loan->Items) {
    const auto& item = static_cast<const TLoanItem&>(*object);
    if (!books.insert(item.Book).second) {
      throw zo::Exception("Book " + std::to_string(item.Book) + " appears twice in the loan");
    }
  }
}

int32_t TLoanDAO::Insert(zo::TBaseDataObject& obj) {
  Validate(obj);
  return TGenericDAO::Insert(obj);
}

void TLoanDAO::Update(zo::TBaseDataObject& obj) {
  Validate(obj);
  TGenericDAO::Update(obj);
}

}  // namespace library
