#pragma once

#include <zo/Export.h>

#include <functional>
#include <string>

namespace zo {

// What the server refused a client, in one place: the server logs each refusal at warning
// level, and whoever counts them (metrics, an admin page) adds an observer at start-up.
enum class TRefusalKind {
  rkCondition,      // a condition, property list or class name outside the strict grammar
  rkAuthorization,  // the authorization hook said no
  rkDatabaseName,   // SetCurrentDataBase with a name that is not a plain file of the customer
  rkLogin,          // a failed or throttled login
};

struct ZO_EXPORT TRefusal {
  TRefusalKind kind;
  std::string customer;
  std::string user;
  std::string method;
  std::string detail;  // for the log only: it may name things the client must not learn
};

ZO_EXPORT std::string RefusalKindName(TRefusalKind kind);  // "condition", "authorization", ...

using TRefusalObserver = std::function<void(const TRefusal&)>;
// Start-up only, before the first client: observers are never removed. An observer must not
// throw and must be safe to call from several threads at once.
ZO_EXPORT void AddRefusalObserver(TRefusalObserver observer);
// Hands the refusal to every observer. Never throws.
ZO_EXPORT void ReportRefusal(const TRefusal& refusal) noexcept;

}  // namespace zo
