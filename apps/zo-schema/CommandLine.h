#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <zo/core/Exceptions.h>

namespace zo::schematool {

// A command line the tool cannot act on; the message says what is wrong.
class EUsageError : public Exception {
 public:
  using Exception::Exception;
};

struct TOption {
  std::string name;  // without the leading "--"
  bool takesValue = false;
};

// The arguments of one command, parsed by CLI11: options ("--name value", "--name=value",
// flags) and positional arguments, in any order; "--" ends the options. "--help" and "-h" are
// always accepted, and so is "--config FILE" ("name = value" lines). With a `program` name,
// each option may also come from the environment (zo-schema: ZO_SCHEMA_DB for --db), password
// options excepted; the command line beats the environment, which beats the file. Unknown
// options, missing values and bad configuration lines throw EUsageError.
class TCommandLine {
 public:
  TCommandLine(const std::vector<std::string>& args, const std::vector<TOption>& options,
               const std::string& program = "");

  bool Has(std::string_view name) const;
  std::optional<std::string> Value(std::string_view name) const;
  // The value of a required option; throws EUsageError naming it when absent.
  std::string Required(std::string_view name) const;
  const std::vector<std::string>& Positional() const { return positional_; }
  // Throws EUsageError unless exactly `names.size()` positional arguments were given.
  void ExpectPositional(const std::vector<std::string>& names) const;

 private:
  std::map<std::string, std::string, std::less<>> values_;
  std::vector<std::string> positional_;
};

}  // namespace zo::schematool
