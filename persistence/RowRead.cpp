// What a statement reading many objects of a class selects: the class's own columns and those
// of the hosted members that live in the same row, so no member needs a second read of it.
#include <zo/core/Attributes.h>
#include <zo/mapping/ObjectInfoCache.h>
#include "persistence/PersistenceDetail.h"
#include "persistence/RowReading.h"

namespace zo::detail {
namespace {

// The metadata a hosted member is read with, when its columns are in the row of `info`: the
// same table under the same key. Otherwise (a host elsewhere) nullptr.
const TDataObjectInfoDB* HostedInSameRow(const TDataObjectInfoDB& info, const TRttiProperty* prop) {
  const TDataObjectClass host = info.HostClass() ? info.HostClass() : GetHostClass(prop);
  if (host == nullptr || prop->PropertyClass() == nullptr) return nullptr;
  const TDataObjectInfoDB* hosted =
      GetObjectInfoDB(prop->PropertyClass(), host, GetAttribName(prop));
  if (hosted->GetTableName() != info.GetTableName() || hosted->HostKeyName() != RowKeyName(info)) {
    return nullptr;
  }
  return hosted;
}

}  // namespace

TRowRead RowReadOf(const TDataObjectInfoDB& info) {
  TRowRead read{info.SelectList(), {}};
  for (const TRttiProperty* prop : info.Properties()) {
    if (GetAttribSkill(prop) != TPropertySkill::psEmbedded || !prop->IsWritable()) continue;
    if (IsAgregation(prop) || prop->TypeName() == "TBitmap") continue;
    const TDataObjectInfoDB* hosted = HostedInSameRow(info, prop);
    if (hosted == nullptr) continue;
    // The hosted select list starts with the key, which the row already has.
    const std::string& columns = hosted->SelectList();
    const size_t comma = columns.find(',');
    if (comma != std::string::npos) read.columns += columns.substr(comma);
    read.hostedInRow.push_back(prop);
  }
  return read;
}

}  // namespace zo::detail
