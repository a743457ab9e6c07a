#include "apps/zo-schema/PasswordInput.h"

#include <cstdlib>
#include <iostream>

#include "apps/zo-schema/Files.h"

namespace zo::schematool {
namespace {

std::string FirstLine(const std::string& content) {
  const std::string line = content.substr(0, content.find('\n'));
  return !line.empty() && line.back() == '\r' ? line.substr(0, line.size() - 1) : line;
}

}  // namespace

std::string ReadPassword(const TCommandLine& args, const std::string& whose) {
  const int sources = args.Has("password-file") + args.Has("password-stdin") + args.Has("password");
  if (sources > 1) {
    throw EUsageError(
        "informe a senha de um só modo (--password-file, --password-stdin ou "
        "--password)");
  }
  if (const auto file = args.Value("password-file")) return FirstLine(ReadTextFile(*file));
  if (args.Has("password-stdin")) {
    std::string line;
    std::getline(std::cin, line);
    return FirstLine(line);
  }
  if (const auto password = args.Value("password")) return *password;
  const char* env = std::getenv(kPasswordVariable);
  if (env != nullptr && *env != '\0') return env;
  throw EUsageError("falta a senha " + whose +
                    ": use --password-file, --password-stdin ou a variável " + kPasswordVariable);
}

}  // namespace zo::schematool
