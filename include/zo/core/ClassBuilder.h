#pragma once

#include <zo/Export.h>

// Defining a data class's properties: one line per property, checked by the compiler.
//
//   DefineClass<TCidade>("DemoClasses", Annotation("CIDADES"))
//       .Key("ID")
//       .Prop("Nome", &TCidade::Nome, Annotation("NOME").Size(60).Required())
//       .Prop("UF", &TCidade::UF, Annotation("UF").Size(2));
//
// The C++ member type decides the property's kind and type name (see TypeInfoOf).

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <zo/core/BaseDataObject.h>
#include <zo/core/ClassRegistry.h>
#include <zo/core/DataObjectList.h>
#include <zo/core/Dates.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Streams.h>
#include <zo/core/Text.h>

namespace zo {

namespace detail {

template <class T>
struct IsUniquePtr : std::false_type {};
template <class T>
struct IsUniquePtr<std::unique_ptr<T>> : std::true_type {
  using Element = T;
};

// The enumeration's own name, read from the compiler's function signature.
template <class E>
constexpr std::string_view RawTypeName() {
  return __PRETTY_FUNCTION__;
}

template <class E>
std::string EnumTypeName() {
  std::string_view s = RawTypeName<E>();
  const auto start = s.find("E = ") + 4;
  s = s.substr(start, s.find_first_of(";]", start) - start);
  const auto colons = s.rfind("::");
  return std::string(colons == std::string_view::npos ? s : s.substr(colons + 2));
}

template <class M>
TTypeInfo MakeTypeInfo() {
  using K = TTypeKind;
  if constexpr (std::is_same_v<M, TPrimaryKey>) {
    return {K::tkInteger, "TPrimaryKey"};
  } else if constexpr (std::is_same_v<M, TForeignKey>) {
    return {K::tkInteger, "TForeignKey"};
  } else if constexpr (std::is_same_v<M, int32_t>) {
    return {K::tkInteger, "Integer"};
  } else if constexpr (std::is_same_v<M, int64_t>) {
    return {K::tkInt64, "Int64"};
  } else if constexpr (std::is_same_v<M, double>) {
    return {K::tkFloat, "Double"};
  } else if constexpr (std::is_same_v<M, TDate>) {
    return {K::tkFloat, "TDate"};
  } else if constexpr (std::is_same_v<M, TDateTime>) {
    return {K::tkFloat, "TDateTime"};
  } else if constexpr (std::is_same_v<M, TTime>) {
    return {K::tkFloat, "TTime"};
  } else if constexpr (std::is_same_v<M, bool>) {
    return {K::tkEnumeration, "Boolean"};
  } else if constexpr (std::is_same_v<M, char>) {
    return {K::tkChar, "AnsiChar"};
  } else if constexpr (std::is_same_v<M, char32_t>) {
    return {K::tkWChar, "Char"};
  } else if constexpr (std::is_same_v<M, std::string>) {
    return {K::tkUString, "string"};
  } else if constexpr (std::is_enum_v<M>) {
    return {K::tkEnumeration, EnumTypeName<M>()};
  } else if constexpr (std::is_base_of_v<TDataObjectList, M>) {
    const TRttiType* item = M().ItemClass();
    return {K::tkClass, "TObjectList<" + item->Name() + ">", TObjectShape::List, item};
  } else if constexpr (IsUniquePtr<M>::value) {
    using E = typename IsUniquePtr<M>::Element;
    if constexpr (std::is_same_v<E, TStream>) {
      return {K::tkClass, "TStream", TObjectShape::Stream};
    } else if constexpr (std::is_same_v<E, TBitmap>) {
      return {K::tkClass, "TBitmap", TObjectShape::Bitmap};
    } else {
      static_assert(std::is_base_of_v<TBaseDataObject, E>,
                    "object properties hold data objects, TStream or TBitmap");
      return {K::tkClass, E::StaticType().Name(), TObjectShape::DataObject, &E::StaticType()};
    }
  } else {
    static_assert(sizeof(M) == 0, "unsupported property type");
  }
}

template <class M>
const TTypeInfo& TypeInfoOf() {
  static const TTypeInfo info = MakeTypeInfo<M>();
  return info;
}

ZO_EXPORT std::string EncodeUtf8(char32_t cp);
ZO_EXPORT char32_t DecodeFirstUtf8(const std::string& s);

template <class M>
TValue::Data ToData(const M& m) {
  if constexpr (std::is_same_v<M, TPrimaryKey> || std::is_same_v<M, TForeignKey>) {
    return static_cast<int64_t>(m.value);
  } else if constexpr (std::is_same_v<M, bool>) {
    return m;
  } else if constexpr (std::is_same_v<M, char>) {
    return m == '\0' ? std::string() : std::string(1, m);
  } else if constexpr (std::is_same_v<M, char32_t>) {
    return EncodeUtf8(m);
  } else if constexpr (std::is_integral_v<M>) {
    return static_cast<int64_t>(m);
  } else if constexpr (std::is_enum_v<M>) {
    return static_cast<int64_t>(m);
  } else if constexpr (std::is_same_v<M, double>) {
    return m;
  } else if constexpr (std::is_same_v<M, TDate> || std::is_same_v<M, TDateTime> ||
                       std::is_same_v<M, TTime>) {
    return m.value;
  } else if constexpr (std::is_same_v<M, std::string>) {
    return m;
  } else if constexpr (std::is_base_of_v<TDataObjectList, M>) {
    return static_cast<TObject*>(const_cast<M*>(&m));
  } else {
    return static_cast<TObject*>(m.get());
  }
}

template <class M>
M FromValue(const TValue& v) {
  if (v.IsEmpty()) return M{};
  if constexpr (std::is_same_v<M, TPrimaryKey> || std::is_same_v<M, TForeignKey>) {
    return M(v.AsInteger());
  } else if constexpr (std::is_same_v<M, bool>) {
    return v.AsBoolean();
  } else if constexpr (std::is_same_v<M, char>) {
    return v.AsString().empty() ? '\0' : v.AsString()[0];
  } else if constexpr (std::is_same_v<M, char32_t>) {
    return DecodeFirstUtf8(v.AsString());
  } else if constexpr (std::is_integral_v<M>) {
    return static_cast<M>(v.AsOrdinal());
  } else if constexpr (std::is_enum_v<M>) {
    return static_cast<M>(v.AsOrdinal());
  } else if constexpr (std::is_same_v<M, double>) {
    return v.AsFloat();
  } else if constexpr (std::is_same_v<M, std::string>) {
    return v.AsString();
  } else {
    return M(v.AsFloat());
  }
}

[[noreturn]] ZO_EXPORT void ThrowWrongInstance(const std::string& property);
[[noreturn]] ZO_EXPORT void ThrowWrongObject(const std::string& property, const std::string& expected);

template <class C>
const C& Self(const TObject& o, const std::string& property) {
  const C* c = dynamic_cast<const C*>(&o);
  if (c == nullptr) ThrowWrongInstance(property);
  return *c;
}

template <class C, class M>
TRttiProperty::Accessors MakeAccessors(M C::*member, const TTypeInfo* type, std::string name) {
  TRttiProperty::Accessors a;
  a.get = [member, type, name](const TObject& o) {
    return TValue(type, ToData<M>(Self<C>(o, name).*member));
  };
  if constexpr (std::is_base_of_v<TDataObjectList, M>) {
    a.getObject = [member, name](const TObject& o) -> TObject* {
      return const_cast<M*>(&(Self<C>(o, name).*member));
    };
    a.setObject = [member, name](TObject& o, std::unique_ptr<TObject> value) {
      auto& list = const_cast<M&>(Self<C>(o, name).*member);
      list.Clear();
      if (!value) return;
      auto* source = dynamic_cast<TDataObjectList*>(value.get());
      if (source == nullptr) ThrowWrongObject(name, "lista");
      list.MoveFrom(*source);
    };
  } else if constexpr (IsUniquePtr<M>::value) {
    using E = typename IsUniquePtr<M>::Element;
    a.getObject = [member, name](const TObject& o) -> TObject* {
      return (Self<C>(o, name).*member).get();
    };
    a.setObject = [member, name](TObject& o, std::unique_ptr<TObject> value) {
      auto& slot = const_cast<M&>(Self<C>(o, name).*member);
      if (!value) {
        slot.reset();
        return;
      }
      auto* typed = dynamic_cast<E*>(value.get());
      if (typed == nullptr) ThrowWrongObject(name, "objeto do tipo da propriedade");
      value.release();
      slot.reset(typed);
    };
  } else {
    a.set = [member, name](TObject& o, const TValue& v) {
      const_cast<M&>(Self<C>(o, name).*member) = FromValue<M>(v);
    };
  }
  return a;
}

}  // namespace detail

template <class T>
class TClassBuilder {
 public:
  TClassBuilder(std::string unitName, std::vector<Annotation> annotations) {
    T::StaticType().BeginDefinition(std::move(unitName), std::move(annotations));
    RegisterClass(&T::StaticType());
  }

  // The identifier `Codigo`, stored in the key column `column`.
  TClassBuilder& Key(std::string column) {
    return Prop("Codigo", &TBaseDataObject::Codigo, Annotation(std::move(column)));
  }

  template <class C, class M>
  TClassBuilder& Prop(std::string name, M C::*member, Annotation annotation) {
    return Add(std::move(name), member, {std::move(annotation)});
  }

  template <class C, class M>
  TClassBuilder& Prop(std::string name, M C::*member) {
    return Add(std::move(name), member, {});
  }

  // The full table name is prefix + name.
  TClassBuilder& TablePrefix(std::string prefix) {
    T::StaticType().SetTablePrefix(std::move(prefix));
    return *this;
  }

 private:
  template <class C, class M>
  TClassBuilder& Add(std::string name, M C::*member, std::vector<Annotation> annotations) {
    static_assert(std::is_base_of_v<C, T>, "the member must belong to the class or a base");
    const TTypeInfo* type = &detail::TypeInfoOf<M>();
    CheckSkill(name, *type, annotations);
    auto accessors = detail::MakeAccessors(member, type, name);
    T::StaticType().AddProperty(std::make_unique<TRttiProperty>(
        std::move(name), type, &T::StaticType(), std::move(annotations), std::move(accessors)));
    return *this;
  }

  static void CheckSkill(const std::string& name, const TTypeInfo& type,
                         const std::vector<Annotation>& annotations) {
    if (annotations.empty()) return;
    const auto skill = annotations.front().GetSkill();
    const bool ok =
        (skill == TPropertySkill::psTextBlob && type.IsString()) ||
        (skill == TPropertySkill::psBinaryBlob && type.kind == TTypeKind::tkClass &&
         type.shape != TObjectShape::DataObject && type.shape != TObjectShape::List) ||
        (skill == TPropertySkill::psEmbedded && type.shape == TObjectShape::DataObject) ||
        (skill != TPropertySkill::psTextBlob && skill != TPropertySkill::psBinaryBlob &&
         skill != TPropertySkill::psEmbedded);
    if (!ok) {
      throw Exception("Propriedade " + T::StaticType().Name() + "." + name +
                      ": o tipo não combina com a anotação");
    }
  }
};

template <class T, class... A>
TClassBuilder<T> DefineClass(std::string unitName, A... classAnnotations) {
  return TClassBuilder<T>(std::move(unitName), std::vector<Annotation>{classAnnotations...});
}

}  // namespace zo
