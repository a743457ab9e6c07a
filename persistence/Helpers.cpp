// Helpers without a connection: failure codes, stream copying.
#include <vector>

#include <zo/core/Text.h>
#include <zo/platform/db/DatabaseError.h>
#include <zo/persistence/Helpers.h>

namespace zo {

int32_t GetCodeException(const std::exception& e) {
  // A database failure says by its codes whether a key constraint refused the row. Any other
  // exception has only its text, so the long-standing rule applies: "UNIQUE KEY" in it means 0.
  if (const auto* failure = dynamic_cast<const EDatabaseError*>(&e)) {
    return failure->IsKeyConstraintViolation() ? 0 : -1;
  }
  return text::ContainsText(e.what(), "UNIQUE KEY") ? 0 : -1;
}

void CopyStreamToStream(TStream& source, TStream& target) {
  constexpr size_t kChunk = 0x8000;
  std::vector<uint8_t> buffer(kChunk);
  while (true) {
    const size_t n = source.Read(buffer.data(), kChunk);
    target.Write(buffer.data(), n);
    if (n < kChunk) return;
  }
}

}  // namespace zo
