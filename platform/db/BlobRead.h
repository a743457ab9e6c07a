#pragma once

// Internal to platform/db: reading a whole blob.

#include <string>

#include "platform/db/FbApi.h"

namespace zo::db {

// The blob's bytes. A text blob arrives already in the connection's character set (Firebird
// transliterates it), so with lc_ctype UTF8 this is UTF-8 text.
std::string ReadBlob(Firebird::IAttachment* attachment, Firebird::ITransaction* transaction,
                     ISC_QUAD id);

}  // namespace zo::db
