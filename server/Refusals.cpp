#include <zo/server/Refusals.h>

#include <mutex>
#include <vector>

namespace zo {
namespace {

// A start-up registry: filled before serving, only read afterwards. The mutex makes a late
// registration (a test adding its own observer) safe all the same.
struct TObservers {
  std::mutex mutex;
  std::vector<TRefusalObserver> list;
};

TObservers& Observers() {
  static TObservers observers;
  return observers;
}

}  // namespace

std::string RefusalKindName(TRefusalKind kind) {
  switch (kind) {
    case TRefusalKind::rkCondition:
      return "condition";
    case TRefusalKind::rkAuthorization:
      return "authorization";
    case TRefusalKind::rkDatabaseName:
      return "database-name";
    case TRefusalKind::rkLogin:
      return "login";
  }
  return "unknown";
}

void AddRefusalObserver(TRefusalObserver observer) {
  std::lock_guard lock(Observers().mutex);
  Observers().list.push_back(std::move(observer));
}

void ReportRefusal(const TRefusal& refusal) noexcept {
  std::lock_guard lock(Observers().mutex);
  for (const auto& observer : Observers().list) {
    try {
      observer(refusal);
    } catch (...) {
      // An observer's failure must not turn a refusal into a different error.
    }
  }
}

}  // namespace zo
