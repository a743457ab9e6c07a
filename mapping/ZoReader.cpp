#include <zo/mapping/ZoReader.h>

#include <zo/core/Exceptions.h>

namespace zo {

TZoReader::TZoReader(std::unique_ptr<TDBXCommand> command) : FOwner(std::move(command)) {}

TZoReader::~TZoReader() {
  // The result set goes before the command that produced it.
  if (FReader) {
    FReader->Close();
    FReader.reset();
  }
  if (FOwner) {
    FOwner->Close();
    FOwner.reset();
  }
}

TDBXReader& TZoReader::Reader() const {
  if (!FReader) throw Exception("TZoReader: o comando ainda não produziu um resultado");
  return *FReader;
}

}  // namespace zo
