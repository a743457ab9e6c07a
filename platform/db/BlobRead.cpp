#include "platform/db/BlobRead.h"

#include "platform/db/FbHandles.h"

namespace zo::db {

std::string ReadBlob(Firebird::IAttachment* attachment, Firebird::ITransaction* transaction,
                     ISC_QUAD id) {
  // Segments land in a buffer on the stack and only their bytes are appended: most text blobs
  // are short, and a string sized for a whole segment up front would be allocated and cleared
  // at that size for every one of them. A longer segment comes in several pieces.
  char chunk[16384];
  fb::Status status;
  fb::Blob blob(attachment->openBlob(status.Throwing(), transaction, &id, 0, nullptr));
  std::string bytes;
  for (;;) {
    unsigned got = 0;
    const int result = blob->getSegment(status.Throwing(), sizeof chunk, chunk, &got);
    bytes.append(chunk, got);
    if (result == Firebird::IStatus::RESULT_NO_DATA) {
      break;
    }
  }
  blob.EndWith([](Firebird::IBlob* b, fb::ThrowStatus* s) { b->close(s); });
  return bytes;
}

}  // namespace zo::db
