#include "platform/db/BlobRead.h"

#include "platform/db/FbHandles.h"

namespace zo::db {

std::string ReadBlob(Firebird::IAttachment* attachment, Firebird::ITransaction* transaction,
                     ISC_QUAD id) {
  // A segment is at most 64 KB - 1; asking for that much keeps the loop short for big blobs.
  constexpr unsigned kChunk = 65535;
  fb::Status status;
  fb::Blob blob(attachment->openBlob(status.Throwing(), transaction, &id, 0, nullptr));
  std::string bytes;
  for (;;) {
    const std::size_t used = bytes.size();
    bytes.resize(used + kChunk);
    unsigned got = 0;
    const int result = blob->getSegment(status.Throwing(), kChunk, bytes.data() + used, &got);
    bytes.resize(used + got);
    if (result == Firebird::IStatus::RESULT_NO_DATA) {
      break;
    }
  }
  blob.EndWith([](Firebird::IBlob* b, fb::ThrowStatus* s) { b->close(s); });
  return bytes;
}

}  // namespace zo::db
