#include "apps/zo-server/ServerProbe.h"

#include <filesystem>
#include <set>

#include <zo/platform/db/SQLConnection.h>
#include <zo/platform/rpc/PrometheusText.h>
#include <zo/server/CustomServerModule.h>
#include <zo/server/UserPasswords.h>

namespace zo::app {

namespace fs = std::filesystem;
namespace prom = rpc::prometheus;

namespace {

constexpr int kReadinessTries = 3;

// Customer identifiers under CustomersDB in name order; directories whose name is not a valid
// identifier are left out.
std::set<std::string> Customers() {
  std::set<std::string> ids;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("CustomersDB", error)) {
    const std::string id = entry.path().filename().string();
    if (entry.is_directory(error) && IsValidCustomerId(id)) ids.insert(id);
  }
  return ids;
}

}  // namespace

void TServerProbe::Adjust(const std::string& customer, int modules, int attachments) {
  const std::lock_guard lock(mutex_);
  Counts& counts = customers_[customer];
  counts.modules += modules;
  counts.attachments += attachments;
  if (counts.modules == 0 && counts.attachments == 0) customers_.erase(customer);
}

void TServerProbe::AppendMetrics(std::string& out) const {
  {
    const std::lock_guard lock(mutex_);
    prom::AppendFamily(out, "zo_open_modules", "Server modules (logged-in clients) per customer.",
                       "gauge");
    for (const auto& [customer, counts] : customers_) {
      prom::AppendSample(out, "zo_open_modules", {{"customer", customer}},
                         static_cast<double>(counts.modules));
    }
    prom::AppendFamily(out, "zo_database_attachments",
                       "Open database attachments of the modules per customer.", "gauge");
    for (const auto& [customer, counts] : customers_) {
      prom::AppendSample(out, "zo_database_attachments", {{"customer", customer}},
                         static_cast<double>(counts.attachments));
    }
  }
  prom::AppendFamily(out, "zo_refused_conditions_total",
                     "Calls refused because of a condition the server does not accept.",
                     "counter");
  prom::AppendSample(out, "zo_refused_conditions_total", {},
                     static_cast<double>(refusedConditions_.load()));
  prom::AppendFamily(out, "zo_refused_authorizations_total",
                     "Calls refused because the user may not do what they asked.", "counter");
  prom::AppendSample(out, "zo_refused_authorizations_total", {},
                     static_cast<double>(refusedAuthorizations_.load()));
}

rpc::Readiness TServerProbe::CheckReadiness() {
  const auto customers = Customers();
  if (customers.empty()) return {false, "no customer is provisioned"};
  int tries = 0;
  for (const auto& customer : customers) {
    if (tries++ == kReadinessTries) break;
    try {
      auto connection = TZoCustomServerModule::CreateConnection(customer);
      connection->Open();
      connection->Close();
      return {true, "database of customer " + customer + " opened"};
    } catch (const std::exception&) {
      // The next customer may be fine; the reason is the database's, not for this answer.
    }
  }
  return {false, "no customer database could be opened"};
}

}  // namespace zo::app
