#include "FinesAction.h"

#include <algorithm>
#include <cmath>
#include <string>

#include <zo/core/Dates.h>
#include <zo/core/Exceptions.h>
#include <zo/persistence/ZoServerUtils.h>
#include <zo/platform/db/SQLConnection.h>

#include "LibraryClasses.h"

namespace library {

int32_t TComputeFinesAction::ExecuteAction() {
  if (SQLConnection() == nullptr) throw zo::Exception("No connection: TComputeFinesAction");
  auto& connection = SQLConnection()->DBXConnection();
  auto transaction = zo::StartTransaction(connection);
  const auto loans = zo::GetDataObjectByCondition(connection, &TLoan::StaticType(), "Returned = 0");
  const double today = std::floor(zo::dates::Now());

  auto& progress = ActionProgress();
  progress.SetTitle("Computing fines");
  progress.SetMax(static_cast<int32_t>(loans.size()));
  int32_t owing = 0;
  for (const auto& object : loans) {
    auto& loan = static_cast<TLoan&>(*object);
    const double daysLate = std::max(0.0, today - std::floor(loan.DueDate.value));
    const double fine = daysLate * kFinePerDay;
    if (fine > 0) ++owing;
    if (fine != loan.Fine) {
      loan.Fine = fine;
      zo::UpdateDataObject(connection, &loan);  // writes only the columns that changed
    }
    const int32_t before = progress.GetPosition();
    AdvanceProgress();
    // Every wait-screen command is a round trip to the client: name the loan only when the
    // whole percent moves, so a long run sends at most a hundred of them.
    if (progress.GetPosition() != before) {
      progress.SetSubTitle("Loan " + std::to_string(loan.GetCodigo()));
    }
  }
  zo::CommitTransaction(connection, transaction);
  return owing;
}

}  // namespace library
