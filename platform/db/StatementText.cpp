#include "platform/db/StatementText.h"

#include <algorithm>
#include <regex>

#include <zo/core/Exceptions.h>

namespace zo::db {

void CheckStatementText(const std::string& sql) {
  if (sql.find('\0') != std::string::npos) {
    throw Exception(
        "Comando recusado: um texto contém o caractere nulo (U+0000), que o banco de dados não "
        "aceita");
  }
}

std::string WithTrueEndPosition(const std::string& message, const std::string& sql) {
  static const std::regex kEndPosition("(Unexpected end of command - line )\\d+, column \\d+");
  if (message.find("Unexpected end of command") == std::string::npos) return message;
  const auto line = 1 + std::count(sql.begin(), sql.end(), '\n');
  const size_t lineStart = sql.rfind('\n') == std::string::npos ? 0 : sql.rfind('\n') + 1;
  // Columns count characters, not bytes: continuation bytes of UTF-8 are skipped.
  const auto column =
      1 + std::count_if(sql.begin() + static_cast<std::ptrdiff_t>(lineStart), sql.end(),
                        [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
  std::smatch match;
  if (!std::regex_search(message, match, kEndPosition)) return message;
  return match.prefix().str() + match[1].str() + std::to_string(line) + ", column " +
         std::to_string(column) + match.suffix().str();
}

}  // namespace zo::db
