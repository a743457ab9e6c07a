#include "tests/support/TempDir.h"

#include <unistd.h>
#include <atomic>
#include <fstream>
#include <random>
#include <sstream>

namespace zo::testing {

TempDir::TempDir() {
  static std::atomic<int> counter{0};
  std::random_device rd;
  const auto name = "zo-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++) +
                    "-" + std::to_string(rd());
  path_ = std::filesystem::temp_directory_path() / name;
  std::filesystem::create_directories(path_);
}

TempDir::~TempDir() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

std::string ReadText(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void WriteText(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

}  // namespace zo::testing
