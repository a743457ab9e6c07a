// packaging/zo-server.service passes systemd's own check: every key known, every value
// parsed. It runs in a container without a running systemd too.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "tests/apps_server/ServerProcess.h"
#include "tests/support/TempDir.h"

namespace zo::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

TEST(ServiceUnit, SystemdAnalyzeVerifiesItWithoutAWarning) {
  ASSERT_TRUE(fs::exists("/usr/bin/systemd-analyze"))
      << "systemd-analyze is missing: scripts/bootstrap.sh installs the systemd package";
  const char* source = std::getenv("ZO_SOURCE_DIR");
  ASSERT_NE(source, nullptr);
  std::string unit = ReadText(fs::path(source) / "packaging" / "zo-server.service");
  // The installed path does not exist here; the built program stands in for it.
  const std::string installed = "/usr/bin/zo-server";
  const auto at = unit.find("ExecStart=" + installed);
  ASSERT_NE(at, std::string::npos);
  unit.replace(at + 10, installed.size(), fs::absolute(ZO_SERVER_BIN).string());

  const TempDir dir;
  std::ofstream(dir.Path() / "zo-server.service") << unit;
  const int code = RunTool("/usr/bin/systemd-analyze",
                           {"verify", (dir.Path() / "zo-server.service").string()},
                           {dir.Path(), {}, dir.Path() / "out", dir.Path() / "err"}, 60s);
  const std::string report = ReadText(dir.Path() / "out") + ReadText(dir.Path() / "err");
  EXPECT_EQ(code, 0) << report;
  EXPECT_EQ(report, "") << "systemd ignores what it warns about";
}

}  // namespace
}  // namespace zo::testing
