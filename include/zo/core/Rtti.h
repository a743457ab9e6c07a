#pragma once

#include <zo/Export.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <zo/core/Annotation.h>
#include <zo/core/TypeInfo.h>
#include <zo/core/Value.h>

namespace zo {

class TObject;
class TBaseDataObject;
class TRttiType;

// One published property of a data class: name, type, declaring class, annotations and typed
// access through TValue. Object-valued properties own what they hold: SetObject moves
// ownership in, GetObject returns an observer.
class ZO_EXPORT TRttiProperty {
 public:
  struct Accessors {
    std::function<TValue(const TObject&)> get;
    std::function<void(TObject&, const TValue&)> set;
    std::function<TObject*(const TObject&)> getObject;
    std::function<void(TObject&, std::unique_ptr<TObject>)> setObject;
  };

  TRttiProperty(std::string name, const TTypeInfo* type, const TRttiType* declaringClass,
                std::vector<Annotation> annotations, Accessors accessors);

  const std::string& Name() const { return name_; }
  const TTypeInfo& Type() const { return *type_; }
  TTypeKind Kind() const { return type_->kind; }
  const std::string& TypeName() const { return type_->name; }
  TObjectShape Shape() const { return type_->shape; }
  const TRttiType* DeclaringClass() const { return declaringClass_; }
  bool IsReadable() const { return true; }
  bool IsWritable() const { return true; }
  const std::vector<Annotation>& Annotations() const { return annotations_; }
  // The data class of a data-object property (nullptr otherwise).
  const TRttiType* PropertyClass() const;
  // The item class of a list property (nullptr otherwise).
  const TRttiType* ItemClass() const;

  TValue GetValue(const TObject& instance) const;
  // Scalar kinds only; an object-valued property is set with SetObject.
  void SetValue(TObject& instance, const TValue& value) const;
  TObject* GetObject(const TObject& instance) const;
  void SetObject(TObject& instance, std::unique_ptr<TObject> value) const;

 private:
  std::string name_;
  const TTypeInfo* type_;
  const TRttiType* declaringClass_;
  std::vector<Annotation> annotations_;
  Accessors accessors_;
};

// The type record of a data class: what the design calls a class reference. One per C++
// class (see ZO_DATA_CLASS), filled by an explicit definition at start-up and read-only after.
class ZO_EXPORT TRttiType {
 public:
  using Factory = std::unique_ptr<TBaseDataObject> (*)();

  TRttiType(std::string name, const TRttiType* parent, Factory factory);
  TRttiType(const TRttiType&) = delete;
  TRttiType& operator=(const TRttiType&) = delete;

  const std::string& Name() const { return name_; }
  const std::string& UnitName() const { return unitName_; }
  std::string QualifiedName() const;  // "Unit.TClass"
  const TRttiType* Parent() const { return parent_; }
  bool InheritsFrom(const TRttiType* other) const;  // true for the class itself too
  bool IsDefined() const { return defined_; }
  bool IsAbstract() const { return factory_ == nullptr; }

  // Virtual constructor.
  std::unique_ptr<TBaseDataObject> Create() const;

  const std::vector<Annotation>& Annotations() const { return annotations_; }
  // Properties in declaration order, ancestors' first.
  const std::vector<const TRttiProperty*>& Properties() const { return properties_; }
  // Case-insensitive look-up, as property names are identifiers.
  const TRttiProperty* FindProperty(std::string_view name) const;
  // The property of type TPrimaryKey, or nullptr.
  const TRttiProperty* KeyProperty() const;

  // Class functions of data objects.
  std::string GetTableName() const;  // the class annotation's name; the class name without one
  std::string GetIdName() const;     // the key column name
  const std::string& GetTablePrefix() const { return tablePrefix_; }

  // Definition (start-up only; see TClassBuilder).
  void BeginDefinition(std::string unitName, std::vector<Annotation> annotations);
  void AddProperty(std::unique_ptr<TRttiProperty> property);
  void SetTablePrefix(std::string prefix) { tablePrefix_ = std::move(prefix); }

 private:
  std::string name_;
  std::string unitName_;
  const TRttiType* parent_;
  Factory factory_;
  bool defined_ = false;
  std::vector<Annotation> annotations_;
  std::vector<std::unique_ptr<TRttiProperty>> ownProperties_;
  std::vector<const TRttiProperty*> properties_;
  std::string tablePrefix_;
};

using TDataObjectClass = const TRttiType*;

}  // namespace zo
