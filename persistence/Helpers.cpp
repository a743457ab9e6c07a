// Helpers without a connection: pass-through decryption, failure codes, stream copying.
#include <vector>

#include <zo/persistence/Helpers.h>
#include <zo/platform/db/DatabaseError.h>

namespace zo {

std::string DesencryptStr(const std::string& s) {
  // Callers rely on this being a pass-through.
  return s;
}

int32_t GetCodeException(const std::exception& e) {
  const auto* failure = dynamic_cast<const EDatabaseError*>(&e);
  return failure != nullptr && failure->IsKeyConstraintViolation() ? 0 : -1;
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
