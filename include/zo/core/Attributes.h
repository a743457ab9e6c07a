#pragma once

#include <zo/Export.h>

#include <string>

#include <zo/core/Annotation.h>
#include <zo/core/Rtti.h>

// Questions the mapping layer asks about one property, answered from its first annotation and
// its type.
namespace zo {

ZO_EXPORT const Annotation* FirstAnnotation(const TRttiProperty* prop);  // nullptr without annotations
// Column name: the annotation's name; the property's name when unannotated.
ZO_EXPORT std::string GetAttribName(const TRttiProperty* prop);
ZO_EXPORT TPropertySkill GetAttribSkill(const TRttiProperty* prop);  // psNormal when unannotated
ZO_EXPORT int GetAttribSkillOrdinal(const TRttiProperty* prop);
// The master class of an aggregated detail, the host of an embedded member, the class a
// reference points at.
ZO_EXPORT TDataObjectClass GetHostClass(const TRttiProperty* prop);
ZO_EXPORT bool IsAgregation(const TRttiProperty* prop);   // holds a list of data objects
ZO_EXPORT bool IsComposition(const TRttiProperty* prop);  // holds one data object
ZO_EXPORT bool IsIndexed(const TRttiProperty* prop);
ZO_EXPORT bool IsRequired(const TRttiProperty* prop);

}  // namespace zo
