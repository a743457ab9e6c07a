#pragma once

#include <zo/Export.h>

#include <zo/core/Exceptions.h>

namespace zo {

// A remote call that names no method the server serves (JSON-RPC -32601 on the wire), or
// passes parameters it cannot use (-32602). The message goes to the client verbatim. Here, in
// core, because both the server module that throws them and the transport that turns them
// into JSON-RPC errors see core.
class ZO_EXPORT EMethodNotFound : public Exception {
 public:
  using Exception::Exception;
};
class ZO_EXPORT EInvalidParams : public Exception {
 public:
  using Exception::Exception;
};

}  // namespace zo
