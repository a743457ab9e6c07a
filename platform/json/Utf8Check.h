#pragma once

#include <string>
#include <string_view>

// nlohmann::json refuses to write text that is not strict UTF-8. These checks let the
// marshaller fail early with the field's name, and keep error messages that quote raw input
// writable themselves.
namespace zo::utf8 {

// Strict UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool IsValid(std::string_view s);
// `s` itself when valid; otherwise every byte outside ASCII becomes '?'.
std::string Printable(std::string_view s);

}  // namespace zo::utf8
