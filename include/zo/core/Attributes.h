#pragma once

#include <string>

#include <zo/core/Annotation.h>
#include <zo/core/Rtti.h>

// Questions the mapping layer asks about one property, answered from its first annotation and
// its type.
namespace zo {

const Annotation* FirstAnnotation(const TRttiProperty* prop);  // nullptr without annotations
// Column name: the annotation's name; the property's name when unannotated.
std::string GetAttribName(const TRttiProperty* prop);
TPropertySkill GetAttribSkill(const TRttiProperty* prop);  // psNormal when unannotated
int GetAttribSkillOrdinal(const TRttiProperty* prop);
// The master class of an aggregated detail, the host of an embedded member, the class a
// reference points at.
TDataObjectClass GetHostClass(const TRttiProperty* prop);
bool IsAgregation(const TRttiProperty* prop);   // holds a list of data objects
bool IsComposition(const TRttiProperty* prop);  // holds one data object
bool IsIndexed(const TRttiProperty* prop);
bool IsRequired(const TRttiProperty* prop);

}  // namespace zo
