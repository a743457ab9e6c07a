#pragma once

#include <zo/Export.h>

#include <memory>

#include <zo/core/Object.h>
#include <zo/platform/db/DBXTransaction.h>

namespace zo {

class TIBDatabase;

// A transaction on a TIBDatabase, started and ended explicitly. Destroying it, or closing its
// database, while it is active rolls it back.
class ZO_EXPORT TIBTransaction : public TObject {
 public:
  explicit TIBTransaction(TIBDatabase* defaultDatabase = nullptr)
      : defaultDatabase_(defaultDatabase) {}
  ~TIBTransaction() override;

  TIBDatabase* DefaultDatabase() const { return defaultDatabase_; }
  // Throws zo::Exception while the transaction is active.
  void SetDefaultDatabase(TIBDatabase* database);

  bool InTransaction() const;
  // Start on the database (which must be open); throw zo::Exception when already active.
  void StartTransaction();
  // Commit and Rollback throw zo::Exception when no transaction is active. A failed commit
  // leaves the transaction active, so it can still be rolled back.
  void Commit();
  void Rollback();

 private:
  TIBDatabase& Database() const;

  TIBDatabase* defaultDatabase_;
  std::unique_ptr<TDBXTransaction> handle_;
};

}  // namespace zo
