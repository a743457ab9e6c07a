#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Base64 (RFC 4648, standard alphabet) for binary properties on the JSON wire.
namespace zo::base64 {

// Padded output, no line breaks.
std::string Encode(std::span<const uint8_t> bytes);

// Accepts padded or unpadded text and skips whitespace (some encoders break lines every 76
// characters). Returns nothing for any other character, misplaced padding or a dangling
// final character.
std::optional<std::vector<uint8_t>> Decode(std::string_view text);

}  // namespace zo::base64
