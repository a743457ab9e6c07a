#include "platform/json/Utf8Check.h"

#include <cstdint>

namespace zo::utf8 {

bool IsValid(std::string_view s) {
  size_t i = 0;
  while (i < s.size()) {
    const auto lead = static_cast<unsigned char>(s[i]);
    if (lead < 0x80) {
      ++i;
      continue;
    }
    const size_t length = (lead & 0xE0) == 0xC0   ? 2
                          : (lead & 0xF0) == 0xE0 ? 3
                          : (lead & 0xF8) == 0xF0 ? 4
                                                  : 0;
    if (length == 0 || i + length > s.size()) return false;
    uint32_t cp = lead & (0x7F >> length);
    for (size_t k = 1; k < length; ++k) {
      const auto next = static_cast<unsigned char>(s[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      cp = (cp << 6) | (next & 0x3F);
    }
    constexpr uint32_t kMinimum[] = {0, 0, 0x80, 0x800, 0x10000};
    if (cp < kMinimum[length] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
    i += length;
  }
  return true;
}

std::string Printable(std::string_view s) {
  std::string out(s);
  if (IsValid(s)) return out;
  for (char& c : out) {
    if (static_cast<unsigned char>(c) >= 0x80) c = '?';
  }
  return out;
}

}  // namespace zo::utf8
