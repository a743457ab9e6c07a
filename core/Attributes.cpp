#include <zo/core/Attributes.h>

namespace zo {

const Annotation* FirstAnnotation(const TRttiProperty* prop) {
  return prop->Annotations().empty() ? nullptr : &prop->Annotations().front();
}

std::string GetAttribName(const TRttiProperty* prop) {
  const Annotation* a = FirstAnnotation(prop);
  return (a == nullptr || a->GetName().empty()) ? prop->Name() : a->GetName();
}

TPropertySkill GetAttribSkill(const TRttiProperty* prop) {
  const Annotation* a = FirstAnnotation(prop);
  return a == nullptr ? TPropertySkill::psNormal : a->GetSkill();
}

int GetAttribSkillOrdinal(const TRttiProperty* prop) {
  return static_cast<int>(GetAttribSkill(prop));
}

TDataObjectClass GetHostClass(const TRttiProperty* prop) {
  const Annotation* a = FirstAnnotation(prop);
  return a == nullptr ? nullptr : a->GetHostClass();
}

bool IsAgregation(const TRttiProperty* prop) { return prop->Shape() == TObjectShape::List; }

bool IsComposition(const TRttiProperty* prop) { return prop->Shape() == TObjectShape::DataObject; }

bool IsIndexed(const TRttiProperty* prop) {
  const Annotation* a = FirstAnnotation(prop);
  return a != nullptr && a->IsIndexed();
}

bool IsRequired(const TRttiProperty* prop) {
  const Annotation* a = FirstAnnotation(prop);
  return a != nullptr && a->IsRequired();
}

}  // namespace zo
