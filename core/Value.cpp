#include <zo/core/Value.h>

#include <zo/core/Exceptions.h>

namespace zo {
namespace {

[[noreturn]] void WrongType(const TValue& v, const char* wanted) {
  throw Exception("Valor do tipo \"" + v.TypeName() + "\" não pode ser lido como " + wanted);
}

}  // namespace

const std::string& TValue::TypeName() const {
  static const std::string kUnknown = "(vazio)";
  return type_ ? type_->name : kUnknown;
}

bool TValue::IsEmpty() const {
  if (std::holds_alternative<std::monostate>(data_)) return true;
  if (const auto* obj = std::get_if<TObject*>(&data_)) return *obj == nullptr;
  return false;
}

int64_t TValue::AsOrdinal() const {
  if (const auto* i = std::get_if<int64_t>(&data_)) return *i;
  if (const auto* b = std::get_if<bool>(&data_)) return *b ? 1 : 0;
  WrongType(*this, "inteiro");
}

double TValue::AsFloat() const {
  if (const auto* d = std::get_if<double>(&data_)) return *d;
  if (const auto* i = std::get_if<int64_t>(&data_)) return static_cast<double>(*i);
  WrongType(*this, "número");
}

bool TValue::AsBoolean() const {
  if (const auto* b = std::get_if<bool>(&data_)) return *b;
  if (const auto* i = std::get_if<int64_t>(&data_)) return *i != 0;
  WrongType(*this, "Boolean");
}

const std::string& TValue::AsString() const {
  if (const auto* s = std::get_if<std::string>(&data_)) return *s;
  WrongType(*this, "texto");
}

TObject* TValue::AsObject() const {
  if (const auto* o = std::get_if<TObject*>(&data_)) return *o;
  if (std::holds_alternative<std::monostate>(data_)) return nullptr;
  WrongType(*this, "objeto");
}

}  // namespace zo
