#include <zo/core/Rtti.h>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>

namespace zo {

TRttiProperty::TRttiProperty(std::string name, const TTypeInfo* type,
                             const TRttiType* declaringClass, std::vector<Annotation> annotations,
                             Accessors accessors)
    : name_(std::move(name)),
      type_(type),
      declaringClass_(declaringClass),
      annotations_(std::move(annotations)),
      accessors_(std::move(accessors)) {}

const TRttiType* TRttiProperty::PropertyClass() const {
  return type_->shape == TObjectShape::DataObject ? type_->classType : nullptr;
}

const TRttiType* TRttiProperty::ItemClass() const {
  return type_->shape == TObjectShape::List ? type_->classType : nullptr;
}

TValue TRttiProperty::GetValue(const TObject& instance) const { return accessors_.get(instance); }

void TRttiProperty::SetValue(TObject& instance, const TValue& value) const {
  if (!accessors_.set) {
    throw Exception("A propriedade \"" + name_ + "\" não aceita valores simples");
  }
  accessors_.set(instance, value);
}

TObject* TRttiProperty::GetObject(const TObject& instance) const {
  return accessors_.getObject ? accessors_.getObject(instance) : nullptr;
}

void TRttiProperty::SetObject(TObject& instance, std::unique_ptr<TObject> value) const {
  if (!accessors_.setObject) {
    throw Exception("A propriedade \"" + name_ + "\" não guarda objetos");
  }
  accessors_.setObject(instance, std::move(value));
}

TRttiType::TRttiType(std::string name, const TRttiType* parent, Factory factory)
    : name_(std::move(name)), parent_(parent), factory_(factory) {}

std::string TRttiType::QualifiedName() const {
  return unitName_.empty() ? name_ : unitName_ + "." + name_;
}

bool TRttiType::InheritsFrom(const TRttiType* other) const {
  for (const TRttiType* t = this; t != nullptr; t = t->parent_) {
    if (t == other) return true;
  }
  return false;
}

std::unique_ptr<TBaseDataObject> TRttiType::Create() const {
  if (!factory_) throw Exception("A classe " + name_ + " não pode ser instanciada");
  return factory_();
}

const TRttiProperty* TRttiType::FindProperty(std::string_view name) const {
  for (const TRttiProperty* p : properties_) {
    if (text::SameText(p->Name(), name)) return p;
  }
  return nullptr;
}

const TRttiProperty* TRttiType::KeyProperty() const {
  for (const TRttiProperty* p : properties_) {
    if (p->Kind() == TTypeKind::tkInteger && p->TypeName() == "TPrimaryKey") return p;
  }
  return nullptr;
}

std::string TRttiType::GetTableName() const {
  return annotations_.empty() ? name_ : annotations_.front().GetName();
}

std::string TRttiType::GetIdName() const {
  const TRttiProperty* key = KeyProperty();
  if (key == nullptr) return "Codigo";
  return key->Annotations().empty() ? key->Name() : key->Annotations().front().GetName();
}

void TRttiType::BeginDefinition(std::string unitName, std::vector<Annotation> annotations) {
  if (defined_) throw Exception("A classe " + name_ + " já foi definida");
  if (parent_ != nullptr && parent_->parent_ != nullptr && !parent_->defined_) {
    throw Exception("A classe " + parent_->name_ + " deve ser definida antes de " + name_);
  }
  unitName_ = std::move(unitName);
  annotations_ = std::move(annotations);
  if (parent_ != nullptr) {
    properties_ = parent_->properties_;
    if (tablePrefix_.empty()) tablePrefix_ = parent_->tablePrefix_;
  }
  defined_ = true;
}

void TRttiType::AddProperty(std::unique_ptr<TRttiProperty> property) {
  if (FindProperty(property->Name()) != nullptr) {
    throw Exception("Propriedade " + property->Name() + " duplicada na classe " + name_);
  }
  properties_.push_back(property.get());
  ownProperties_.push_back(std::move(property));
}

}  // namespace zo
