#pragma once

// Internal to platform/db: lifted literal values sent as a prepared statement's parameters.

#include <memory>
#include <vector>

#include "platform/db/FbHandles.h"
#include "platform/db/LiteralLifting.h"

namespace zo::db {

// How one parameter, as the engine described it, takes a literal without changing what the
// statement means: exact numbers into integer and NUMERIC parameters of enough digits and
// scale, decimals of up to 15 digits into DOUBLE PRECISION (the engine converts the text exactly
// as it converts the literal), strings that fit into text parameters, strings into date and time
// parameters (the engine converts them as it converts the literal). Every value travels as text and
// is converted by the engine into the parameter's type.
struct ParameterSlot {
  enum class Accepts { Nothing, Integer, Double, Text, DateText };
  Accepts accepts = Accepts::Nothing;
  unsigned maxDigits = 0;         // Integer: digits before and after the point together
  unsigned decimals = 0;          // Integer: digits after the point at most
  unsigned maxChars = 0;          // Text, DateText
  bool countsCodePoints = false;  // Text in UTF8 / UNICODE_FSS: characters, not bytes
  unsigned offset = 0;
  unsigned nullOffset = 0;
};

class StatementInput {
 public:
  // The message layout for `statement`'s parameters.
  explicit StatementInput(Firebird::IStatement* statement);

  Firebird::IMessageMetadata* Metadata() const { return metadata_.get(); }
  // Whether every literal can be its parameter (same count, each accepted by its slot).
  bool Accepts(const std::vector<Literal>& literals) const;
  // Fills `message` with `literals` (its storage reused); call only when Accepts(literals).
  void Encode(const std::vector<Literal>& literals, std::vector<unsigned char>& message) const;

 private:
  fb::Ref<Firebird::IMessageMetadata> metadata_;
  std::vector<ParameterSlot> slots_;
  unsigned length_ = 0;
};

}  // namespace zo::db
