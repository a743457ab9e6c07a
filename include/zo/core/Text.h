#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Small text helpers shared by the whole library. Case conversions are ASCII-only on purpose:
// identifiers and SQL keywords are ASCII, and user text must never be changed by them.
namespace zo::text {

ZO_EXPORT std::string UpperCase(std::string_view s);
ZO_EXPORT std::string LowerCase(std::string_view s);
ZO_EXPORT bool SameText(std::string_view a, std::string_view b);  // ASCII case-insensitive equality
ZO_EXPORT bool ContainsText(std::string_view haystack, std::string_view needle);  // ASCII case-insensitive
ZO_EXPORT std::string Trim(std::string_view s);
ZO_EXPORT std::string Left(std::string_view s, size_t count);   // first `count` bytes (or all)
ZO_EXPORT std::string Right(std::string_view s, size_t count);  // last `count` bytes (or all)
ZO_EXPORT std::string ReplaceAll(std::string s, std::string_view from, std::string_view to);
ZO_EXPORT std::vector<std::string> Split(std::string_view s, char delimiter);

// A string list's text: each line followed by "\r\n".
ZO_EXPORT std::string JoinLines(const std::vector<std::string>& lines);

// Integer parsing with the platform's own message: "'%s' is not a valid integer value".
ZO_EXPORT int32_t StrToInt(std::string_view s);
ZO_EXPORT int32_t StrToIntDef(std::string_view s, int32_t fallback);

// UTF-8 helpers.
ZO_EXPORT size_t Utf8Length(std::string_view s);          // number of code points
ZO_EXPORT std::string Utf8FirstChar(std::string_view s);  // the first code point, as UTF-8 (or "")
ZO_EXPORT bool IsLatin1(std::string_view utf8);           // every code point below U+0100
// One byte per code point; code points outside Latin-1 (and malformed bytes) become '?'.
ZO_EXPORT std::string Utf8ToLatin1(std::string_view utf8);
ZO_EXPORT std::string Latin1ToUtf8(std::string_view latin1);

ZO_EXPORT std::string HexUpper(const void* data, size_t size);

}  // namespace zo::text
