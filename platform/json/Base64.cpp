#include "platform/json/Base64.h"

#include <array>

namespace zo::base64 {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr int8_t kInvalid = -1;

constexpr std::array<int8_t, 256> MakeReverse() {
  std::array<int8_t, 256> table{};
  table.fill(kInvalid);
  for (size_t i = 0; i < kAlphabet.size(); ++i) {
    table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<int8_t>(i);
  }
  return table;
}
constexpr std::array<int8_t, 256> kReverse = MakeReverse();

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace

std::string Encode(std::span<const uint8_t> bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const uint32_t n = (bytes[i] << 16) | (bytes[i + 1] << 8) | bytes[i + 2];
    out += kAlphabet[n >> 18];
    out += kAlphabet[(n >> 12) & 63];
    out += kAlphabet[(n >> 6) & 63];
    out += kAlphabet[n & 63];
  }
  const size_t rest = bytes.size() - i;
  if (rest > 0) {
    const uint32_t n = (bytes[i] << 16) | (rest == 2 ? bytes[i + 1] << 8 : 0);
    out += kAlphabet[n >> 18];
    out += kAlphabet[(n >> 12) & 63];
    out += rest == 2 ? kAlphabet[(n >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

std::optional<std::vector<uint8_t>> Decode(std::string_view text) {
  std::vector<uint8_t> out;
  out.reserve(text.size() / 4 * 3);
  uint32_t bits = 0;
  int pending = 0;  // sextets collected in `bits`
  int padding = 0;
  for (const char c : text) {
    if (IsSpace(c)) continue;
    if (c == '=') {
      ++padding;
      continue;
    }
    const int8_t value = kReverse[static_cast<unsigned char>(c)];
    if (value == kInvalid || padding > 0) return std::nullopt;  // data after padding
    bits = (bits << 6) | static_cast<uint32_t>(value);
    if (++pending == 4) {
      out.push_back(static_cast<uint8_t>(bits >> 16));
      out.push_back(static_cast<uint8_t>(bits >> 8));
      out.push_back(static_cast<uint8_t>(bits));
      bits = 0;
      pending = 0;
    }
  }
  // A final group of one sextet cannot hold a byte; padding, when present, must complete it.
  if (pending == 1 || (padding > 0 && pending + padding != 4)) return std::nullopt;
  if (pending == 2) {
    out.push_back(static_cast<uint8_t>(bits >> 4));
  } else if (pending == 3) {
    out.push_back(static_cast<uint8_t>(bits >> 10));
    out.push_back(static_cast<uint8_t>(bits >> 2));
  }
  return out;
}

}  // namespace zo::base64
