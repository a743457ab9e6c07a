#include <zo/core/ClassBuilder.h>

namespace zo::detail {

std::string EncodeUtf8(char32_t cp) {
  std::string out;
  if (cp == 0) return out;
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
  return out;
}

char32_t DecodeFirstUtf8(const std::string& s) {
  const std::string first = text::Utf8FirstChar(s);
  if (first.empty()) return 0;
  const auto b0 = static_cast<unsigned char>(first[0]);
  if (first.size() == 1) return b0;
  char32_t cp = first.size() == 2 ? (b0 & 0x1F) : first.size() == 3 ? (b0 & 0x0F) : (b0 & 0x07);
  for (size_t i = 1; i < first.size(); ++i) {
    cp = (cp << 6) | (static_cast<unsigned char>(first[i]) & 0x3F);
  }
  return cp;
}

void ThrowWrongInstance(const std::string& property) {
  throw Exception("A propriedade \"" + property + "\" não pertence a este objeto");
}

void ThrowWrongObject(const std::string& property, const std::string& expected) {
  throw Exception("A propriedade \"" + property + "\" espera " + expected);
}

}  // namespace zo::detail
