#include <zo/core/Text.h>

#include <algorithm>
#include <charconv>

#include <zo/core/Exceptions.h>

namespace zo::text {
namespace {

char AsciiUpper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; }
char AsciiLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }
bool IsBlank(char c) { return static_cast<unsigned char>(c) <= ' '; }

// Decodes one code point at s[i]; returns false (and consumes one byte) on malformed input.
bool DecodeUtf8(std::string_view s, size_t& i, uint32_t& cp) {
  const auto b0 = static_cast<unsigned char>(s[i]);
  size_t len = 0;
  if (b0 < 0x80) {
    cp = b0;
    len = 1;
  } else if ((b0 & 0xE0) == 0xC0) {
    cp = b0 & 0x1F;
    len = 2;
  } else if ((b0 & 0xF0) == 0xE0) {
    cp = b0 & 0x0F;
    len = 3;
  } else if ((b0 & 0xF8) == 0xF0) {
    cp = b0 & 0x07;
    len = 4;
  } else {
    ++i;
    return false;
  }
  if (i + len > s.size()) {
    ++i;
    return false;
  }
  for (size_t k = 1; k < len; ++k) {
    const auto b = static_cast<unsigned char>(s[i + k]);
    if ((b & 0xC0) != 0x80) {
      ++i;
      return false;
    }
    cp = (cp << 6) | (b & 0x3F);
  }
  i += len;
  return true;
}

}  // namespace

std::string UpperCase(std::string_view s) {
  std::string r(s);
  std::transform(r.begin(), r.end(), r.begin(), AsciiUpper);
  return r;
}

std::string LowerCase(std::string_view s) {
  std::string r(s);
  std::transform(r.begin(), r.end(), r.begin(), AsciiLower);
  return r;
}

bool SameText(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return AsciiLower(x) == AsciiLower(y);
         });
}

bool ContainsText(std::string_view haystack, std::string_view needle) {
  return LowerCase(haystack).find(LowerCase(needle)) != std::string::npos;
}

std::string Trim(std::string_view s) {
  size_t b = 0;
  size_t e = s.size();
  while (b < e && IsBlank(s[b])) ++b;
  while (e > b && IsBlank(s[e - 1])) --e;
  return std::string(s.substr(b, e - b));
}

std::string Left(std::string_view s, size_t count) { return std::string(s.substr(0, count)); }

std::string Right(std::string_view s, size_t count) {
  return std::string(count >= s.size() ? s : s.substr(s.size() - count));
}

std::string ReplaceAll(std::string s, std::string_view from, std::string_view to) {
  if (from.empty()) return s;
  size_t pos = 0;
  while ((pos = s.find(from, pos)) != std::string::npos) {
    s.replace(pos, from.size(), to);
    pos += to.size();
  }
  return s;
}

std::vector<std::string> Split(std::string_view s, char delimiter) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (true) {
    const size_t pos = s.find(delimiter, start);
    if (pos == std::string_view::npos) {
      parts.emplace_back(s.substr(start));
      return parts;
    }
    parts.emplace_back(s.substr(start, pos - start));
    start = pos + 1;
  }
}

std::string JoinLines(const std::vector<std::string>& lines) {
  std::string out;
  for (const auto& line : lines) {
    out += line;
    out += "\r\n";
  }
  return out;
}

int32_t StrToInt(std::string_view s) {
  const std::string trimmed = Trim(s);
  int32_t value = 0;
  const char* first = trimmed.data();
  const char* last = trimmed.data() + trimmed.size();
  if (first != last && *first == '+') ++first;
  const auto [ptr, ec] = std::from_chars(first, last, value);
  if (trimmed.empty() || ec != std::errc() || ptr != last) {
    throw Exception("'" + std::string(s) + "' is not a valid integer value");
  }
  return value;
}

int32_t StrToIntDef(std::string_view s, int32_t fallback) {
  try {
    return StrToInt(s);
  } catch (const Exception&) {
    return fallback;
  }
}

size_t Utf8Length(std::string_view s) {
  size_t count = 0;
  size_t i = 0;
  uint32_t cp = 0;
  while (i < s.size()) {
    DecodeUtf8(s, i, cp);
    ++count;
  }
  return count;
}

std::string Utf8FirstChar(std::string_view s) {
  if (s.empty()) return {};
  size_t i = 0;
  uint32_t cp = 0;
  DecodeUtf8(s, i, cp);
  return std::string(s.substr(0, i));
}

bool IsLatin1(std::string_view utf8) {
  size_t i = 0;
  uint32_t cp = 0;
  while (i < utf8.size()) {
    if (!DecodeUtf8(utf8, i, cp) || cp > 0xFF) return false;
  }
  return true;
}

std::string Utf8ToLatin1(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  size_t i = 0;
  uint32_t cp = 0;
  while (i < utf8.size()) {
    const bool ok = DecodeUtf8(utf8, i, cp);
    out.push_back(ok && cp <= 0xFF ? static_cast<char>(cp) : '?');
  }
  return out;
}

std::string Latin1ToUtf8(std::string_view latin1) {
  std::string out;
  out.reserve(latin1.size() * 2);
  for (const char ch : latin1) {
    const auto c = static_cast<unsigned char>(ch);
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return out;
}

std::string HexUpper(const void* data, size_t size) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::string out(size * 2, '0');
  for (size_t i = 0; i < size; ++i) {
    out[2 * i] = kDigits[bytes[i] >> 4];
    out[2 * i + 1] = kDigits[bytes[i] & 0x0F];
  }
  return out;
}

}  // namespace zo::text
