#pragma once

#include <zo/Export.h>

namespace zo {

// Root of every object a property can hold (data objects, lists, streams, bitmaps), so that
// the reflection layer can hand them around through one pointer type.
class ZO_EXPORT TObject {
 public:
  TObject() = default;
  TObject(const TObject&) = delete;
  TObject& operator=(const TObject&) = delete;
  virtual ~TObject() = default;
};

}  // namespace zo
