#pragma once

#include <zo/Export.h>

#include <memory>
#include <string>
#include <type_traits>

#include <zo/core/Identifiers.h>
#include <zo/core/Object.h>
#include <zo/core/Rtti.h>

namespace zo {

namespace detail {
template <class T>
constexpr TRttiType::Factory FactoryFor() {
  if constexpr (std::is_abstract_v<T>) {
    return nullptr;
  } else {
    return []() -> std::unique_ptr<TBaseDataObject> { return std::make_unique<T>(); };
  }
}
}  // namespace detail

// Declares the type record of a data class. Put it first in the class body:
//   class TCidade : public zo::TBaseDataObject {
//     ZO_DATA_CLASS(TCidade, zo::TBaseDataObject)
//    public:
//     std::string Nome;
//   };
// The record is filled by an explicit definition at start-up (see core/ClassBuilder.h).
#define ZO_DATA_CLASS(Class, Base)                                                               \
 public:                                                                                         \
  static ::zo::TRttiType& StaticType() {                                                         \
    static ::zo::TRttiType type(#Class, &Base::StaticType(), ::zo::detail::FactoryFor<Class>()); \
    return type;                                                                                 \
  }                                                                                              \
  ::zo::TDataObjectClass ClassType() const override { return &StaticType(); }                    \
                                                                                                 \
 private:

// Base of every persistent entity. Data objects are neither copyable nor movable: owner links
// point at them.
class ZO_EXPORT TBaseDataObject : public TObject {
 public:
  TBaseDataObject() = default;
  ~TBaseDataObject() override = default;

  static TRttiType& StaticType();
  virtual TDataObjectClass ClassType() const { return &StaticType(); }
  const std::string& ClassName() const { return ClassType()->Name(); }

  // The identifier; negative while the object is not stored yet.
  TPrimaryKey Codigo;
  virtual int32_t GetCodigo() const { return Codigo; }
  virtual void SetCodigo(int32_t value) { Codigo = value; }

  // Owner link: the object that holds this one (a list's owner, a table of a structure model).
  TBaseDataObject* GetParent() const { return parent_; }
  void SetParent(TBaseDataObject* parent) { parent_ = parent; }

  // Serialisation hints of the core library; the persistence layer does not use them.
  virtual std::string GetNameSpace() const { return ClassType()->UnitName(); }
  virtual std::string GetDeclareNamespace() const { return ClassType()->QualifiedName(); }
  virtual std::string GetDefaultSerializer() const { return "json"; }

 private:
  TBaseDataObject* parent_ = nullptr;
};

// Casts a freshly created data object to the expected class; nullptr stays nullptr.
template <class T>
std::unique_ptr<T> StaticCastOwned(std::unique_ptr<TBaseDataObject> p) {
  return std::unique_ptr<T>(static_cast<T*>(p.release()));
}

}  // namespace zo
