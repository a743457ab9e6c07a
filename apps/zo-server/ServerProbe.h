#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include <zo/platform/rpc/RpcServer.h>

namespace zo::app {

// The application server's part of /health and /metrics: open modules and database
// attachments per customer, refusals of the remote boundary, and whether a customer database
// can be opened.
class TServerProbe : public rpc::IServerProbe {
 public:
  // A module of `customer` was created (+1) or destroyed (-1); `attachments` likewise for
  // its open database connections.
  void Adjust(const std::string& customer, int modules, int attachments);
  // Calls refused by the boundary checks, for the operator to spot probing clients.
  void CountRefusedCondition() { ++refusedConditions_; }
  void CountRefusedAuthorization() { ++refusedAuthorizations_; }

  void AppendMetrics(std::string& out) const override;
  // Ready when the database of a provisioned customer opens (the first few in name order are
  // tried, so one broken customer does not make the whole server unready).
  rpc::Readiness CheckReadiness() override;

 private:
  struct Counts {
    std::int64_t modules = 0;
    std::int64_t attachments = 0;
  };

  mutable std::mutex mutex_;
  std::map<std::string, Counts> customers_;
  std::atomic<std::uint64_t> refusedConditions_{0};
  std::atomic<std::uint64_t> refusedAuthorizations_{0};
};

}  // namespace zo::app
