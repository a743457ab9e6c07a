#pragma once

#include <string>

#include "apps/zo-schema/CommandLine.h"

namespace zo::schematool {

// The options a command that takes a password accepts (see ReadPassword).
inline constexpr const char* kPasswordVariable = "ZO_SCHEMA_PASSWORD";

// From --password-file, --password-stdin, the environment or (last resort) --password.
// `whose` completes the message when none is given ("do primeiro usuário").
std::string ReadPassword(const TCommandLine& args, const std::string& whose);

}  // namespace zo::schematool
