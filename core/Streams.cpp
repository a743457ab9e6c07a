#include <zo/core/Streams.h>

#include <algorithm>
#include <cstring>

#include <zo/core/Exceptions.h>

namespace zo {

size_t TMemoryStream::Read(void* buffer, size_t count) {
  const auto available = static_cast<size_t>(std::max<int64_t>(0, Size() - position_));
  const size_t n = std::min(count, available);
  if (n > 0) std::memcpy(buffer, bytes_.data() + position_, n);
  position_ += static_cast<int64_t>(n);
  return n;
}

void TMemoryStream::Write(const void* buffer, size_t count) {
  const auto end = static_cast<size_t>(position_) + count;
  if (end > bytes_.size()) bytes_.resize(end);
  if (count > 0) std::memcpy(bytes_.data() + position_, buffer, count);
  position_ = static_cast<int64_t>(end);
}

void TMemoryStream::SetPosition(int64_t position) {
  if (position < 0) throw Exception("Posição de stream inválida");
  position_ = position;
}

void TMemoryStream::Clear() {
  bytes_.clear();
  position_ = 0;
}

std::vector<uint8_t> ReadRemaining(TStream& stream) {
  std::vector<uint8_t> out;
  uint8_t buffer[32768];
  while (true) {
    const size_t n = stream.Read(buffer, sizeof buffer);
    out.insert(out.end(), buffer, buffer + n);
    if (n < sizeof buffer) return out;
  }
}

}  // namespace zo
