// Binary large objects: read whole into a memory stream, written in hexadecimal chunks.
#include <fmt/printf.h>

#include <zo/core/Attributes.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include "persistence/PersistenceDetail.h"
#include <zo/persistence/ZoServerUtils.h>

namespace zo {
namespace {

// 16384 bytes are 32768 hexadecimal digits: no statement grows much beyond 32 KB of text.
constexpr size_t kBlobChunk = 16384;

std::string BlobColumn(const TDataObjectInfoDB& info, const std::string& propertyName) {
  return detail::PrefixedColumn(info, detail::RequireProperty(info, propertyName));
}

}  // namespace

namespace detail {

void WriteBinaryBlob(TDBXConnection& connection, const TDataObjectInfoDB& info,
                     const TRttiProperty* prop, int32_t id, TStream* stream) {
  const std::string table = info.GetTableName();
  const std::string column = PrefixedColumn(info, prop);
  const std::string key = RowKeyName(info);
  if (stream == nullptr) {
    ExecuteSqlCmd(connection,
                  fmt::sprintf("UPDATE %s SET %s = NULL WHERE %s = %d", table, column, key, id));
    return;
  }
  ExecuteSqlCmd(connection,
                fmt::sprintf("UPDATE %s SET %s = '' WHERE %s = %d", table, column, key, id));
  stream->SetPosition(0);
  std::vector<uint8_t> chunk(kBlobChunk);
  while (true) {
    const size_t n = stream->Read(chunk.data(), kBlobChunk);
    if (n > 0) {
      ExecuteSqlCmd(connection,
                    fmt::sprintf("update %s set %s = %s || x'%s' WHERE %s = %d", table, column,
                                 column, text::HexUpper(chunk.data(), n), key, id));
    }
    if (n < kBlobChunk) break;
  }
}

TStream* HeldBinaryBlob(const TBaseDataObject& object, const TRttiProperty* prop) {
  if (GetAttribSkill(prop) != TPropertySkill::psBinaryBlob || prop->TypeName() == "TBitmap") {
    return nullptr;
  }
  return dynamic_cast<TStream*>(prop->GetObject(object));
}

}  // namespace detail

std::unique_ptr<TMemoryStream> GetBlobData(TDBXConnection& connection, int32_t id,
                                           const std::string& propertyName, TDataObjectClass cls) {
  const TDataObjectInfoDB& info = *GetObjectInfoDB(cls);
  const auto reader = GetReader(
      connection, fmt::sprintf("select %s from %s where %s = %d", BlobColumn(info, propertyName),
                               info.GetTableName(), info.GetKeyName(), id));
  TDBXReader& row = reader->Reader();
  if (!row.Next() || row.IsNull(0)) return nullptr;
  std::vector<uint8_t> bytes;
  try {
    bytes = row.GetBytes(0);
  } catch (const std::exception&) {
    return nullptr;  // a column that is not bytes gives nothing
  }
  return std::make_unique<TMemoryStream>(std::move(bytes));
}

void SetBlobData(TDBXConnection& connection, int32_t id, const std::string& propertyName,
                 TDataObjectClass cls, TStream* stream) {
  const TDataObjectInfoDB& info = *GetObjectInfoDB(cls);
  auto transaction = StartTransaction(connection);
  detail::WriteBinaryBlob(connection, info, detail::RequireProperty(info, propertyName), id,
                          stream);
  CommitTransaction(connection, transaction);
}

}  // namespace zo
