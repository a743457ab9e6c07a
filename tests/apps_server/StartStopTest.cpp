// Starting and stopping zo-server itself: refusals at start-up, and SIGTERM at any moment after
// the server has said that it listens.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string>

#include <zo/version.h>

#include "tests/apps_server/ServerProcess.h"
#include "tests/support/TempDir.h"

namespace zo::testing {
namespace {

using namespace std::chrono_literals;

// Both ends of a pipe, closed at scope exit.
class Pipe {
 public:
  Pipe() {
    if (::pipe2(fds_, O_CLOEXEC) != 0) fds_[0] = fds_[1] = -1;
  }
  ~Pipe() {
    CloseWriteEnd();
    if (fds_[0] >= 0) ::close(fds_[0]);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  int ReadEnd() const { return fds_[0]; }
  int WriteEnd() const { return fds_[1]; }
  void CloseWriteEnd() {
    if (fds_[1] >= 0) ::close(fds_[1]);
    fds_[1] = -1;
  }
  // The first line written, waiting at most `timeout`; "" on timeout or end of file.
  std::string ReadLine(std::chrono::milliseconds timeout) const {
    std::string line;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
      pollfd readable{fds_[0], POLLIN, 0};
      if (::poll(&readable, 1, 50) <= 0) continue;
      char c = 0;
      if (::read(fds_[0], &c, 1) != 1) break;
      if (c == '\n') return line;
      line += c;
    }
    return "";
  }

 private:
  int fds_[2];
};

TEST(ServerStartStop, RefusesToStartWithoutARootConfigurationOrWithBadOptions) {
  const TempDir root;
  const auto run = [&](const std::vector<std::string>& args) {
    return RunTool(ZO_SERVER_BIN, args, {{}, {}, {}, root.Path() / "err"}, 30s);
  };
  EXPECT_EQ(run({"--root", root.Path().string(), "--port", "0"}), 2);
  EXPECT_NE(ReadText(root.Path() / "err").find("conn.conf"), std::string::npos);
  EXPECT_EQ(run({"--port", "70000"}), 1);
  EXPECT_EQ(run({"--root"}), 1);
  EXPECT_EQ(run({"--verbose", "yes"}), 1);

  // A configuration file stops start-up at its first bad line, named with its key.
  const struct {
    std::string text;
    std::string message;
  } configs[] = {
      {"port = 0\n# comment\nprot = 7070\n", "line 3: unknown key \"prot\""},
      {"log-level = loud\n", "line 1: bad value for \"log-level\""},
      {"workers = 0\n", "line 1: bad value for \"workers\""},
      {"port 7070\n", "line 1: expected \"key = value\""},
  };
  for (const auto& config : configs) {
    std::ofstream(root.Path() / "zo.conf") << config.text;
    EXPECT_EQ(run({"--config", (root.Path() / "zo.conf").string()}), 1) << config.text;
    EXPECT_NE(ReadText(root.Path() / "err").find("zo-server: " + (root.Path() / "zo.conf").string() +
                                                  " " + config.message),
              std::string::npos)
        << ReadText(root.Path() / "err");
  }
  EXPECT_EQ(RunTool(ZO_SERVER_BIN, {"--version"}, {{}, {}, root.Path() / "out", {}}, 30s), 0);
  EXPECT_EQ(ReadText(root.Path() / "out"), std::string("zo-server ") + ZO_VERSION_STRING + "\n");
}

// The reader of the announcement may signal at once: the server must already be listening for
// SIGTERM by then, or the signal's default action kills it.
TEST(ServerStartStop, SigtermRightAfterTheAnnouncementStopsCleanly) {
  const TempDir root;
  std::ofstream(root.Path() / "conn.conf") << "User_Name=SYSDBA\nPassword=masterkey\n";
  for (int attempt = 0; attempt < 25; ++attempt) {
    Pipe output;
    ChildProcess server(ZO_SERVER_BIN,
                        {"--root", root.Path().string(), "--port", "0", "--log-level", "off"},
                        {.outputFd = output.WriteEnd()});
    output.CloseWriteEnd();
    ASSERT_NE(output.ReadLine(30s).find("listening on ws://127.0.0.1:"), std::string::npos);
    server.Signal(SIGTERM);
    ASSERT_EQ(server.Wait(15s), 0) << "attempt " << attempt;
  }
}

}  // namespace
}  // namespace zo::testing
