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

// The arguments of one command: options ("--name value", "--name=value", flags) and
// positional arguments, in any order; "--" ends the options. "--help" and "-h" are always
// accepted. Unknown or repeated options and missing values throw EUsageError.
class TCommandLine {
 public:
  TCommandLine(const std::vector<std::string>& args, const std::vector<TOption>& options);

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
