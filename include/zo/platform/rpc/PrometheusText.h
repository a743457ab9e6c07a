#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Writing the Prometheus text exposition format (version 0.0.4), for the server's /metrics and
// for what an application adds to it.
namespace zo::rpc::prometheus {

using Labels = std::vector<std::pair<std::string_view, std::string_view>>;

// "# HELP" and "# TYPE" lines; `type` is "counter", "gauge" or "histogram".
void AppendFamily(std::string& out, std::string_view name, std::string_view help,
                  std::string_view type);
// One sample line: name{label="value",...} value. Label values are escaped (backslash, quote,
// line break), so that a value that came from a client cannot forge another line.
void AppendSample(std::string& out, std::string_view name, const Labels& labels, double value);

}  // namespace zo::rpc::prometheus
