#include <zo/platform/rpc/PrometheusText.h>

#include <cmath>

#include <fmt/format.h>

namespace zo::rpc::prometheus {

namespace {

void AppendEscaped(std::string& out, std::string_view value) {
  for (const char c : value) {
    if (c == '\\') {
      out += "\\\\";
    } else if (c == '"') {
      out += "\\\"";
    } else if (c == '\n') {
      out += "\\n";
    } else {
      out += c;
    }
  }
}

}  // namespace

void AppendFamily(std::string& out, std::string_view name, std::string_view help,
                  std::string_view type) {
  out += fmt::format("# HELP {} {}\n# TYPE {} {}\n", name, help, name, type);
}

void AppendSample(std::string& out, std::string_view name, const Labels& labels, double value) {
  out += name;
  if (!labels.empty()) {
    out += '{';
    for (std::size_t i = 0; i < labels.size(); ++i) {
      if (i > 0) out += ',';
      out += labels[i].first;
      out += "=\"";
      AppendEscaped(out, labels[i].second);
      out += '"';
    }
    out += '}';
  }
  if (std::isinf(value)) {
    out += value > 0 ? " +Inf\n" : " -Inf\n";
  } else {
    out += fmt::format(" {}\n", value);
  }
}

}  // namespace zo::rpc::prometheus
