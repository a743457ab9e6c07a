#include "apps/zo-server/EngineErrors.h"

#include <zo/core/Text.h>
#include <zo/server/CustomServerModule.h>

namespace zo::app {

bool NamesServerFiles(const std::string& message) {
  const std::string root = ApplicationRoot();
  if (!root.empty() && message.find(root) != std::string::npos) return true;
  for (const char* marker : {"CustomersDB", ".fdb", "for file", "I/O error", "lock manager",
                             "/tmp/", "/var/", "/home/", "/srv/"}) {
    if (text::ContainsText(message, marker)) return true;
  }
  return false;
}

}  // namespace zo::app
