// Conditions written over property names, translated into SQL over column names.
#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/persistence/Conditions.h>

namespace zo {
namespace {

// Walks the tokens of one condition. A condition cut short (a property without operator or
// value) raises instead of reading past the end.
class TConditionReader {
 public:
  TConditionReader(const TRttiType* type, const std::string& condition)
      : type_(type), condition_(condition), tokens_(text::Split(condition, ' ')) {}

  std::string Translate() {
    std::string result = " ";
    while (i_ < tokens_.size()) {
      result += ReadTerm();
      result += " " + ReadOperator() + " ";
    }
    return result;
  }

 private:
  const std::string& Token(size_t index) const {
    if (index >= tokens_.size()) throw Exception("Condição incompleta: " + condition_);
    return tokens_[index];
  }

  // [NOT] property operator value, or [NOT] property BETWEEN low AND high.
  std::string ReadTerm() {
    std::string prefix;
    if (text::UpperCase(Token(i_)) == "NOT") {
      prefix = "NOT";
      ++i_;
    }
    const std::string column = GetFieldName(type_, Token(i_));
    const std::string op = text::UpperCase(Token(i_ + 1));
    std::string value;
    if (op != "BETWEEN") {
      value = Token(i_ + 2);
      i_ += 3;
    } else {
      // The bounds are upper-cased with the rest on purpose: they are numbers or dates.
      value =
          text::UpperCase(fmt::sprintf("%s %s %s", Token(i_ + 2), Token(i_ + 3), Token(i_ + 4)));
      i_ += 5;
    }
    return fmt::sprintf("%s %s %s %s", prefix, text::UpperCase(column), op, value);
  }

  std::string ReadOperator() {
    if (i_ >= tokens_.size()) return "";
    const std::string op = text::UpperCase(tokens_[i_]);
    if (op != "AND" && op != "OR") {
      throw Exception("Erro - GetList, Operador lógico inválido : " + op);
    }
    ++i_;
    return op;
  }

  const TRttiType* type_;
  std::string condition_;
  std::vector<std::string> tokens_;
  size_t i_ = 0;
};

std::string Translate(const TRttiType* type, const std::string& condition) {
  const std::string trimmed = text::Trim(condition);
  if (trimmed.empty()) return "";
  return TConditionReader(type, trimmed).Translate();
}

}  // namespace

std::string ParseCondition(TDataObjectClass cls, const std::string& condition) {
  if (condition.empty()) return "";
  return Translate(cls, condition);
}

std::string ParseCondition(const TRttiType& type, const std::string& condition) {
  return Translate(&type, condition);
}

std::string GetFieldName(const TRttiType* type, const std::string& propertyName) {
  if (type == nullptr) throw Exception("Parâmetro 'Atype' não pode ser nulo");
  if (text::Trim(propertyName).empty()) {
    throw Exception("getFieldName: Propriedade inválida para a classe: " + type->QualifiedName());
  }
  const std::string first = text::Split(propertyName, '.').front();
  const TRttiProperty* prop = type->FindProperty(first);
  if (prop == nullptr) throw Exception("Propriedade inválida: " + propertyName);
  return GetAttribName(prop);
}

std::string ParseProperties(const TRttiType* type, const std::vector<std::string>& names) {
  if (type == nullptr) throw Exception("Parâmetro 'Atype' não pode ser nulo");
  std::string columns;
  for (const std::string& name : names) {
    const TRttiProperty* prop = type->FindProperty(name);
    if (prop == nullptr) {
      throw Exception(
          fmt::sprintf("Propriedade %s não encontrada na classe %s", name, type->QualifiedName()));
    }
    columns += GetAttribName(prop) + ",";
  }
  if (!columns.empty()) columns.pop_back();
  return columns;
}

}  // namespace zo
