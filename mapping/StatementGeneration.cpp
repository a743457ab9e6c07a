// Statement generation: insert, update (changed properties only, text large objects in
// hexadecimal chunks), select and a quick create statement of one data class.
#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/mapping/ServerClasses.h>

namespace zo {
namespace {

constexpr size_t kBlobChunk = 16384;

bool ValuesDiffer(const TRttiProperty* prop, const TBaseDataObject& a, const TBaseDataObject& b) {
  if (prop->Kind() == TTypeKind::tkEnumeration) {
    return prop->GetValue(a).AsOrdinal() != prop->GetValue(b).AsOrdinal();
  }
  return !(prop->GetValue(a) == prop->GetValue(b));
}

bool CompositionDiffers(const TRttiProperty* prop, const TBaseDataObject& a,
                        const TBaseDataObject& b) {
  const auto* oldMember = dynamic_cast<const TBaseDataObject*>(prop->GetObject(a));
  const auto* newMember = dynamic_cast<const TBaseDataObject*>(prop->GetObject(b));
  const int32_t oldId = oldMember ? oldMember->GetCodigo() : -1;
  const int32_t newId = newMember ? newMember->GetCodigo() : -1;
  if ((oldMember == nullptr) != (newMember == nullptr)) return true;
  return oldId != newId;
}

}  // namespace

std::string TDataObjectInfoDB::GenerateInsertCode(const TBaseDataObject& instance) const {
  const std::string values = PropValueToStr(instance, fProperties, false, "");
  return fmt::sprintf(FSqlInsTpl, values);
}

void TDataObjectInfoDB::GenerateUpdateCode(const TBaseDataObject& instance,
                                           const std::vector<const TRttiProperty*>& props,
                                           std::vector<std::string>& cmds) const {
  if (props.empty()) throw Exception("Lista vazia");
  const std::string key = UpdateKeyName();

  std::vector<const TRttiProperty*> textBlobs;
  std::vector<const TRttiProperty*> rest;
  for (const TRttiProperty* p : props) {
    (GetAttribSkill(p) == TPropertySkill::psTextBlob ? textBlobs : rest).push_back(p);
  }

  if (!rest.empty()) {
    cmds.push_back(fmt::sprintf("update %s set %s where %s = %d", GetTableName(),
                                PropValueToStr(instance, rest, true, FieldPrefix()), key,
                                instance.GetCodigo()));
  }
  for (const TRttiProperty* p : textBlobs) {
    cmds.push_back(fmt::sprintf("update %s set %s = '' where %s = %d", GetTableName(),
                                FPlacement.Column(p), key, instance.GetCodigo()));
    // The column holds Latin-1: the text goes one byte per character, '?' for the rest.
    TMemoryStream bytes(text::Utf8ToLatin1(p->GetValue(instance).AsString()));
    SetTextBlobData(instance.GetCodigo(), p, bytes, cmds);
  }
}

void TDataObjectInfoDB::SetTextBlobData(int32_t id, const TRttiProperty* prop, TStream& stream,
                                        std::vector<std::string>& cmds) const {
  const std::string column = FPlacement.Column(prop);
  std::vector<uint8_t> chunk(kBlobChunk);
  while (true) {
    const size_t n = stream.Read(chunk.data(), kBlobChunk);
    if (n > 0) {
      cmds.push_back(fmt::sprintf("update %s set %s = %s || x'%s' WHERE %s = %d", GetTableName(),
                                  column, column, text::HexUpper(chunk.data(), n), GetKeyName(),
                                  id));
    }
    if (n < kBlobChunk) return;
  }
}

std::vector<const TRttiProperty*> TDataObjectInfoDB::GetChangedProperties(
    TDBXConnection* /*connection: the comparison needs no database*/,
    const TBaseDataObject* oldInstance, const TBaseDataObject& newInstance) const {
  std::vector<const TRttiProperty*> changed;
  for (const TRttiProperty* p : fProperties) {
    if (IsAgregation(p)) continue;
    if (!IsComposition(p)) {
      if (p->Kind() == TTypeKind::tkClass) continue;  // compared only through compositions
      if (oldInstance == nullptr || ValuesDiffer(p, *oldInstance, newInstance)) {
        changed.push_back(p);
      }
    } else if (GetAttribSkill(p) != TPropertySkill::psEmbedded) {
      if (oldInstance == nullptr || CompositionDiffers(p, *oldInstance, newInstance)) {
        changed.push_back(p);
      }
    }
  }
  return changed;
}

std::string TDataObjectInfoDB::GenerateCreateCode(const TBaseDataObject& /*instance*/) const {
  std::string sql = fmt::sprintf("CREATE TABLE %s (", GetTableName());
  bool first = true;
  for (const TRttiProperty* p : fProperties) {
    std::string type;
    if (p->Kind() == TTypeKind::tkInteger) {
      type = "INTEGER";
    } else if (p->Kind() == TTypeKind::tkFloat) {
      type = "DOUBLE";
    } else if (p->Type().IsString()) {
      type = "VARCHAR(256)";
    }
    if (!first) sql += ",";
    sql += GetAttribName(p) + " " + type;
    first = false;
  }
  return sql + ");";
}

}  // namespace zo
