#pragma once

#include <zo/Export.h>

// Helpers that need no connection.

#include <cstdint>
#include <exception>
#include <string>

#include <zo/core/Streams.h>

namespace zo {

// A pass-through: returns its argument unchanged.
ZO_EXPORT std::string DesencryptStr(const std::string& s);
// 0 when the failure is the database refusing a repeated primary key or unique constraint
// value (an EDatabaseError naming the constraint), else -1. A duplicate refused inside
// InsertDataObject/UpdateDataObject already carries the message naming the property instead.
ZO_EXPORT int32_t GetCodeException(const std::exception& e);
// Copies from the source's current position to its end; neither stream is repositioned.
ZO_EXPORT void CopyStreamToStream(TStream& source, TStream& target);

}  // namespace zo
