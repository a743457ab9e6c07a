#pragma once

#include <zo/Export.h>

#include <string>

namespace zo {

class TZoCallback;

// Wait-screen helpers: each sends one command to the client through its callback and waits
// for the reply; a reply of JSON true means the client asked to stop, and the running
// operation ends with the silent abort (zo::EAbort). A null callback makes each a no-op.
ZO_EXPORT void SetWaitTitle(TZoCallback* callback, const std::string& text);
ZO_EXPORT void SetWaitSubTitle(TZoCallback* callback, const std::string& text);
ZO_EXPORT void GoWaitPos(TZoCallback* callback, int position);
// Does nothing: the wait screen counts in percent. Kept for callers that announce a count.
ZO_EXPORT void SetWaitCount(TZoCallback* callback, int count);

}  // namespace zo
