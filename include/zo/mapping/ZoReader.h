#pragma once

#include <zo/Export.h>

#include <memory>

#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXReader.h>

namespace zo {

// A command and the result set it produced, owned together: destroying the TZoReader closes
// and frees the result set first, then the command. Freeing it is the only clean-up its users
// do. Made by GetReader (persistence/ZoServerUtils.h).
class ZO_EXPORT TZoReader {
 public:
  explicit TZoReader(std::unique_ptr<TDBXCommand> command);
  ~TZoReader();
  TZoReader(const TZoReader&) = delete;
  TZoReader& operator=(const TZoReader&) = delete;

  // The result set. Throws zo::Exception while none has been stored yet.
  TDBXReader& Reader() const;
  bool HasReader() const { return FReader != nullptr; }
  void SetReader(std::unique_ptr<TDBXReader> reader) { FReader = std::move(reader); }
  TDBXCommand& Command() const { return *FOwner; }

 private:
  std::unique_ptr<TDBXReader> FReader;
  std::unique_ptr<TDBXCommand> FOwner;
};

}  // namespace zo
