#pragma once

#include <string>

namespace zo::app {

// Whether an error text speaks of the server's files (database paths, lock files, I/O on a
// file): such a text goes to the log, and the client hears only "base de dados indisponível".
bool NamesServerFiles(const std::string& message);

}  // namespace zo::app
