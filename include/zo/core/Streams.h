#pragma once

#include <zo/Export.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <zo/core/Object.h>

namespace zo {

// A byte stream with a position, the type of binary large-object properties.
class ZO_EXPORT TStream : public TObject {
 public:
  virtual size_t Read(void* buffer, size_t count) = 0;
  virtual void Write(const void* buffer, size_t count) = 0;
  virtual int64_t Size() const = 0;
  virtual int64_t Position() const = 0;
  virtual void SetPosition(int64_t position) = 0;
};

// The in-memory stream used everywhere a stream is produced.
class ZO_EXPORT TMemoryStream : public TStream {
 public:
  TMemoryStream() = default;
  explicit TMemoryStream(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}
  explicit TMemoryStream(const std::string& bytes) : bytes_(bytes.begin(), bytes.end()) {}

  size_t Read(void* buffer, size_t count) override;
  void Write(const void* buffer, size_t count) override;
  int64_t Size() const override { return static_cast<int64_t>(bytes_.size()); }
  int64_t Position() const override { return position_; }
  void SetPosition(int64_t position) override;

  const std::vector<uint8_t>& Bytes() const { return bytes_; }
  std::string AsString() const { return std::string(bytes_.begin(), bytes_.end()); }
  void Clear();

 private:
  std::vector<uint8_t> bytes_;
  int64_t position_ = 0;
};

// An image held as its encoded bytes. A distinct type: bitmaps are written but never read back
// by the persistence layer.
class ZO_EXPORT TBitmap : public TMemoryStream {
 public:
  using TMemoryStream::TMemoryStream;
};

// Reads everything from the stream's current position to its end.
ZO_EXPORT std::vector<uint8_t> ReadRemaining(TStream& stream);

}  // namespace zo
