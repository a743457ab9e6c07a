#pragma once

#include <zo/Export.h>

// Conditions and property lists written over property names, translated into SQL over column
// names. No database access.

#include <string>
#include <vector>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Rtti.h>

namespace zo {

// Translates a condition over property names ("Nome = 'Ana' and Idade between 18 and 30")
// into SQL over column names, without WHERE. Empty for an empty condition.
ZO_EXPORT std::string ParseCondition(TDataObjectClass cls, const std::string& condition);
ZO_EXPORT std::string ParseCondition(const TRttiType& type, const std::string& condition);
// The column of a property; of a dotted name ("Cidade.Nome") the first part is resolved.
ZO_EXPORT std::string GetFieldName(const TRttiType* type, const std::string& propertyName);
// The columns of the named properties joined by ",".
ZO_EXPORT std::string ParseProperties(const TRttiType* type, const std::vector<std::string>& names);

}  // namespace zo
