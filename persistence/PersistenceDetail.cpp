#include "persistence/PersistenceDetail.h"

#include <fmt/printf.h>

#include <zo/core/Exceptions.h>

namespace zo::detail {

std::string Utf8Left(std::string_view s, size_t count) {
  size_t end = 0;
  for (size_t seen = 0; end < s.size() && seen < count; ++seen) {
    ++end;  // past the lead byte, then past its continuation bytes
    while (end < s.size() && (static_cast<unsigned char>(s[end]) & 0xC0) == 0x80) ++end;
  }
  return std::string(s.substr(0, end));
}

std::string PrefixedColumn(const TDataObjectInfoDB& info, const TRttiProperty* prop) {
  return info.Placement().Column(prop);
}

const TRttiProperty* RequireProperty(const TDataObjectInfoDB& info, const std::string& name) {
  const TRttiProperty* prop = info.FindProperty(name);
  if (prop == nullptr) {
    const std::string cls = info.DataClass() ? info.DataClass()->QualifiedName() : std::string();
    throw Exception(fmt::sprintf("Propriedade %s não encontrada na classe %s", name, cls));
  }
  return prop;
}

std::string ListReferenceName(const TRttiProperty* listProperty) {
  const Annotation* a = FirstAnnotation(listProperty);
  return a == nullptr ? std::string() : a->GetName();
}

TDataObjectClass ListMasterClass(const TRttiProperty* listProperty, TDataObjectClass ownerClass) {
  const TDataObjectClass host = GetHostClass(listProperty);
  return host != nullptr ? host : ownerClass;
}

std::string RowKeyName(const TDataObjectInfoDB& info) {
  return info.HostKeyName().empty() ? info.GetKeyName() : info.HostKeyName();
}

}  // namespace zo::detail
