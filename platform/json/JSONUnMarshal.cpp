#include <zo/platform/json/JSONUnMarshal.h>

#include <nlohmann/json.hpp>
#include <string>

#include <zo/core/BaseDataObject.h>
#include <zo/core/ClassRegistry.h>
#include <zo/core/DataObjectList.h>
#include <zo/core/Exceptions.h>
#include "platform/json/JsonErrors.h"
#include "platform/json/JsonFields.h"
#include "platform/json/Utf8Check.h"

namespace zo {
namespace {

using json_errors::ThrowField;
using json_errors::ThrowWrongType;
using nlohmann::json;

// Documents come from remote clients: bound the recursion instead of trusting their depth.
constexpr int kMaxDepth = 200;

std::string Quoted(const std::string& s) { return "\"" + s + "\""; }

// One document's read. Every object is owned by a unique_ptr from the moment it is created, so
// an error anywhere unwinds the whole partial tree.
class TDocumentReader {
 public:
  std::unique_ptr<TBaseDataObject> Object(const json& value, int depth) {
    if (!value.is_object()) {
      throw Exception("JSON de objeto esperado, veio " + json_errors::KindName(value));
    }
    if (depth > kMaxDepth) {
      throw Exception("JSON com objetos aninhados demais (limite " + std::to_string(kMaxDepth) +
                      ")");
    }
    std::unique_ptr<TBaseDataObject> object = ClassOf(value)->Create();
    for (const auto& [key, member] : value.items()) {
      if (key == "fields") {
        Fields(*object, member, depth);
      } else if (key != "type" && key != "id") {
        throw Exception("Chave desconhecida no JSON do objeto da classe " +
                        Quoted(object->ClassName()) + ": " + Quoted(key));
      }
    }
    return object;
  }

 private:
  static TDataObjectClass ClassOf(const json& value) {
    const auto type = value.find("type");
    if (type == value.end() || !type->is_string()) {
      throw Exception("Objeto JSON sem o nome da classe em \"type\"");
    }
    const auto& name = type->get_ref<const std::string&>();
    TDataObjectClass cls = FindClass(name);
    if (cls == nullptr) throw Exception("Classe desconhecida no JSON: " + Quoted(name));
    return cls;
  }

  void Fields(TBaseDataObject& object, const json& fields, int depth) {
    if (!fields.is_object()) {
      throw Exception("\"fields\" do JSON da classe " + Quoted(object.ClassName()) +
                      " deve ser um objeto, veio " + json_errors::KindName(fields));
    }
    for (const auto& [name, value] : fields.items()) {
      const TRttiProperty* property = object.ClassType()->FindProperty(name);
      if (property == nullptr) {
        throw Exception("Campo desconhecido " + Quoted(name) + " na classe " +
                        Quoted(object.ClassName()));
      }
      Field(object, *property, value, depth);
    }
  }

  void Field(TBaseDataObject& object, const TRttiProperty& property, const json& value, int depth) {
    switch (property.Shape()) {
      case TObjectShape::DataObject:
        property.SetObject(object, HeldObject(object, property, value, depth));
        break;
      case TObjectShape::List:
        List(object, property, value, depth);
        break;
      default:
        json_fields::Decode(object, property, value);
    }
  }

  std::unique_ptr<TBaseDataObject> HeldObject(const TBaseDataObject& owner,
                                              const TRttiProperty& property, const json& value,
                                              int depth) {
    if (value.is_null()) return nullptr;
    return Member(owner, property, property.PropertyClass(), value, depth);
  }

  // A list field is replaced as a whole; null reads as an empty list, as some clients write
  // empty arrays that way.
  void List(TBaseDataObject& owner, const TRttiProperty& property, const json& value, int depth) {
    TDataObjectClass itemClass = property.ItemClass();
    if (!value.is_array() && !value.is_null()) {
      ThrowWrongType(owner, property, "lista de objetos da classe " + Quoted(itemClass->Name()),
                     value);
    }
    auto& list = static_cast<TDataObjectList&>(*property.GetObject(owner));
    list.Clear();
    if (value.is_null()) return;
    for (const json& element : value) {
      auto item = Member(owner, property, itemClass, element, depth);
      item->SetParent(&owner);
      list.Add(std::move(item));
    }
  }

  // A data object held by a field (or a list item): it must be of the declared class or one
  // derived from it.
  std::unique_ptr<TBaseDataObject> Member(const TBaseDataObject& owner,
                                          const TRttiProperty& property, TDataObjectClass cls,
                                          const json& value, int depth) {
    const std::string expected = "objeto da classe " + Quoted(cls->Name());
    if (!value.is_object()) ThrowWrongType(owner, property, expected, value);
    auto member = Object(value, depth + 1);
    if (!member->ClassType()->InheritsFrom(cls)) {
      ThrowField(owner, property,
                 "esperado " + expected + ", veio " + Quoted(member->ClassType()->QualifiedName()));
    }
    return member;
  }
};

// nlohmann's messages start with "[json.exception.parse_error.101] ": keep only the text. The
// text quotes the input read last, which may be the very bytes that were not UTF-8.
std::string ParseProblem(const std::string& message) {
  const auto end = message.find("] ");
  const bool prefixed = message.starts_with("[json.exception.") && end != std::string::npos;
  return utf8::Printable(prefixed ? message.substr(end + 2) : message);
}

}  // namespace

std::unique_ptr<TBaseDataObject> TJSONUnMarshal::Unmarshal(const json& value) const {
  if (value.is_null()) return nullptr;
  return TDocumentReader().Object(value, 0);
}

std::unique_ptr<TBaseDataObject> TJSONUnMarshal::UnmarshalFromString(std::string_view text) const {
  json value;
  try {
    value = json::parse(text);
  } catch (const json::exception& e) {  // syntax errors and out-of-range numbers
    throw Exception("JSON inválido: " + ParseProblem(e.what()));
  }
  return Unmarshal(value);
}

}  // namespace zo
