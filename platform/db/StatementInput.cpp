#include "platform/db/StatementInput.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace zo::db {
namespace {

constexpr unsigned kCharSetNone = 0;
constexpr unsigned kCharSetOctets = 1;
constexpr unsigned kCharSetAscii = 2;
constexpr unsigned kCharSetUnicodeFss = 3;
constexpr unsigned kCharSetUtf8 = 4;
constexpr unsigned kCharSetIso8859_1 = 21;
constexpr unsigned kDateTextLength = 64;
constexpr unsigned kNumberTextLength = 48;

// Bytes per character of the character sets a text parameter may be described in; 0 for any
// other (its literals are not lifted).
unsigned BytesPerChar(unsigned charSet) {
  switch (charSet) {
    case kCharSetNone:
    case kCharSetOctets:
    case kCharSetAscii:
    case kCharSetIso8859_1:
      return 1;
    case kCharSetUnicodeFss:
      return 3;
    case kCharSetUtf8:
      return 4;
    default:
      return 0;
  }
}

unsigned IntegerDigits(unsigned sqlType) {
  switch (sqlType) {
    case SQL_SHORT:
      return 4;  // every 4-digit number fits 16 bits
    case SQL_LONG:
      return 9;
    case SQL_INT64:
      return 18;
    default:
      return 0;
  }
}

// The slot for parameter `i`, and the type the message carries it in (text of some length).
ParameterSlot Describe(Firebird::IMessageMetadata* described, unsigned i, fb::ThrowStatus* s,
                       unsigned& messageLength, unsigned& messageCharSet) {
  ParameterSlot slot;
  const unsigned type = described->getType(s, i) & ~1u;
  const int scale = described->getScale(s, i);
  messageLength = kNumberTextLength;
  messageCharSet = kCharSetNone;
  if (IntegerDigits(type) > 0 && scale <= 0) {
    slot.accepts = ParameterSlot::Accepts::Integer;
    slot.maxDigits = IntegerDigits(type);
    slot.decimals = static_cast<unsigned>(-scale);
  } else if (type == SQL_DOUBLE) {
    slot.accepts = ParameterSlot::Accepts::Double;
    slot.maxDigits = 15;  // every such decimal is an exact integer over a power of ten
    slot.decimals = 15;
  } else if ((type == SQL_TEXT || type == SQL_VARYING) &&
             BytesPerChar(described->getCharSet(s, i)) > 0) {
    const unsigned charSet = described->getCharSet(s, i);
    slot.accepts = ParameterSlot::Accepts::Text;
    slot.maxChars = described->getLength(s, i) / BytesPerChar(charSet);
    slot.countsCodePoints = BytesPerChar(charSet) > 1;
    messageLength = std::max(1u, described->getLength(s, i));
    messageCharSet = charSet;
  } else if (type == SQL_TYPE_DATE || type == SQL_TYPE_TIME || type == SQL_TIMESTAMP) {
    slot.accepts = ParameterSlot::Accepts::DateText;
    slot.maxChars = kDateTextLength;
    messageLength = kDateTextLength;
  }
  return slot;
}

std::size_t Characters(const std::string& text, bool codePoints) {
  if (!codePoints) return text.size();
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

// Exact in the parameter: no more decimals than its scale, and the stored integer (the value
// times 10^scale) within the digits the type always holds.
bool FitsInteger(const ParameterSlot& slot, std::string digits) {
  if (!digits.empty() && (digits[0] == '-' || digits[0] == '+')) digits.erase(0, 1);
  const std::size_t point = std::min(digits.find('.'), digits.size());
  const std::size_t decimals = point == digits.size() ? 0 : digits.size() - point - 1;
  const std::size_t leadingZeros = std::min(digits.find_first_not_of('0'), point);
  const std::size_t integerDigits = point - leadingZeros;
  return decimals <= slot.decimals && integerDigits + slot.decimals <= slot.maxDigits;
}

// At most `maxDigits` significant digits in all.
bool FitsDecimal(const std::string& number, unsigned maxDigits) {
  const auto digits = std::count_if(number.begin(), number.end(), [](char c) {
    return std::isdigit(static_cast<unsigned char>(c));
  });
  const std::size_t first = number.find_first_of("123456789");
  const auto leading =
      first == std::string::npos
          ? digits
          : std::count(number.begin(), number.begin() + static_cast<std::ptrdiff_t>(first), '0');
  return static_cast<unsigned>(digits - leading) <= maxDigits;
}

bool Accepted(const ParameterSlot& slot, const Literal& literal) {
  switch (slot.accepts) {
    case ParameterSlot::Accepts::Integer:
      return literal.type == Literal::Type::Number && FitsInteger(slot, literal.value);
    case ParameterSlot::Accepts::Double:
      return literal.type == Literal::Type::Number && FitsDecimal(literal.value, slot.maxDigits);
    case ParameterSlot::Accepts::Text:
    case ParameterSlot::Accepts::DateText:
      return literal.type == Literal::Type::String &&
             Characters(literal.value, slot.countsCodePoints) <= slot.maxChars;
    case ParameterSlot::Accepts::Nothing:
      return false;
  }
  return false;
}

}  // namespace

StatementInput::StatementInput(Firebird::IStatement* statement) {
  fb::Status status;
  auto* s = status.Throwing();
  const fb::Ref<Firebird::IMessageMetadata> described(statement->getInputMetadata(s));
  const unsigned count = described->getCount(s);
  if (count == 0) return;
  const fb::Ref<Firebird::IMetadataBuilder> builder(fb::Master()->getMetadataBuilder(s, count));
  for (unsigned i = 0; i < count; ++i) {
    unsigned length = 0;
    unsigned charSet = 0;
    slots_.push_back(Describe(described.get(), i, s, length, charSet));
    builder->setType(s, i, SQL_VARYING + 1);
    builder->setLength(s, i, length);
    builder->setCharSet(s, i, charSet);
    builder->setScale(s, i, 0);
    builder->setSubType(s, i, 0);
  }
  metadata_ = fb::Ref<Firebird::IMessageMetadata>(builder->getMetadata(s));
  for (unsigned i = 0; i < count; ++i) {
    slots_[i].offset = metadata_->getOffset(s, i);
    slots_[i].nullOffset = metadata_->getNullOffset(s, i);
  }
  length_ = metadata_->getMessageLength(s);
}

bool StatementInput::Accepts(const std::vector<Literal>& literals) const {
  if (literals.size() != slots_.size()) return false;
  for (std::size_t i = 0; i < literals.size(); ++i) {
    if (!Accepted(slots_[i], literals[i])) return false;
  }
  return true;
}

void StatementInput::Encode(const std::vector<Literal>& literals,
                            std::vector<unsigned char>& message) const {
  message.assign(length_, 0);
  for (std::size_t i = 0; i < literals.size(); ++i) {
    const ParameterSlot& slot = slots_[i];
    const std::string& value = literals[i].value;
    const auto length = static_cast<ISC_USHORT>(value.size());
    std::memcpy(message.data() + slot.offset, &length, sizeof length);
    std::memcpy(message.data() + slot.offset + sizeof length, value.data(), value.size());
    const ISC_SHORT notNull = 0;
    std::memcpy(message.data() + slot.nullOffset, &notNull, sizeof notNull);
  }
}

}  // namespace zo::db
