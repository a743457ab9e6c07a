#include "tests/apps_server/ServerProcess.h"

#include <signal.h>

#include <regex>
#include <stdexcept>
#include <thread>

namespace zo::testing {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kPoll = 20ms;
constexpr auto kStartTimeout = 30s;
constexpr auto kStopGrace = 15s;

}  // namespace

ZoServerProcess::ZoServerProcess(const std::filesystem::path& root,
                                 const std::vector<std::string>& extraArgs)
    : outputFile_(io_.Path() / "server.out"),
      logFile_(io_.Path() / "server.log"),
      process_(
          ZO_SERVER_BIN,
          [&] {
            std::vector<std::string> args{"--root", root.string(), "--port", "0"};
            args.insert(args.end(), extraArgs.begin(), extraArgs.end());
            return args;
          }(),
          ChildStreams{{}, {}, outputFile_, logFile_}) {
  port_ = WaitUntilListening();
}

ZoServerProcess::~ZoServerProcess() {
  if (process_.Running()) Stop();
}

std::uint16_t ZoServerProcess::WaitUntilListening() {
  // The first line names the port: "... listening on ws://127.0.0.1:PORT/zo and ...".
  static const std::regex kListening(R"(listening on wss?://[^:\s]+:(\d+)/zo)");
  const auto deadline = Clock::now() + kStartTimeout;
  while (Clock::now() < deadline) {
    std::smatch match;
    const std::string output = Output();
    if (std::regex_search(output, match, kListening)) {
      return static_cast<std::uint16_t>(std::stoi(match[1].str()));
    }
    if (!process_.Running()) break;
    std::this_thread::sleep_for(kPoll);
  }
  throw std::runtime_error("zo-server did not start listening.\nstdout:\n" + Output() + "\nlog:\n" +
                           Log());
}

std::optional<int> ZoServerProcess::Stop() {
  process_.Signal(SIGTERM);
  return process_.Wait(std::chrono::duration_cast<std::chrono::milliseconds>(kStopGrace));
}

int ZoServerProcess::CountInLog(const std::string& text) const {
  const std::string log = Log();
  int count = 0;
  for (auto at = log.find(text); at != std::string::npos; at = log.find(text, at + text.size())) {
    ++count;
  }
  return count;
}

bool ZoServerProcess::WaitForLog(const std::string& text, std::chrono::milliseconds timeout,
                                 int times) const {
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    if (CountInLog(text) >= times) return true;
    if (Clock::now() >= deadline) return false;
    std::this_thread::sleep_for(kPoll);
  }
}

}  // namespace zo::testing
