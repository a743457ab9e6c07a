#include "tests/support/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <thread>

extern char** environ;

namespace zo::testing {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kPoll = 20ms;

// posix_spawn's file actions, released at scope exit.
class FileActions {
 public:
  explicit FileActions(const ChildStreams& streams) {
    posix_spawn_file_actions_init(&actions_);
    Redirect(STDIN_FILENO, streams.input, O_RDONLY);
    Redirect(STDOUT_FILENO, streams.output, O_WRONLY | O_CREAT | O_TRUNC);
    Redirect(STDERR_FILENO, streams.errors, O_WRONLY | O_CREAT | O_TRUNC);
    if (!streams.cwd.empty()) {
      posix_spawn_file_actions_addchdir_np(&actions_, streams.cwd.c_str());
    }
  }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;
  const posix_spawn_file_actions_t* Get() const { return &actions_; }

 private:
  void Redirect(int fd, const std::filesystem::path& path, int flags) {
    const std::string target = path.empty() ? "/dev/null" : path.string();
    posix_spawn_file_actions_addopen(&actions_, fd, target.c_str(), flags, 0644);
  }

  posix_spawn_file_actions_t actions_;
};

}  // namespace

ChildProcess::ChildProcess(const std::string& binary, const std::vector<std::string>& args,
                           const ChildStreams& streams) {
  std::vector<std::string> words{binary};
  words.insert(words.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  std::vector<std::string> variables;
  for (char** v = environ; *v; ++v) {
    const std::string_view name = std::string_view(*v).substr(0, std::string_view(*v).find('='));
    const auto changed = [&](const std::string& e) { return e.substr(0, e.find('=')) == name; };
    if (std::none_of(streams.env.begin(), streams.env.end(), changed)) variables.push_back(*v);
  }
  for (const auto& e : streams.env) {
    if (e.find('=') != std::string::npos) variables.push_back(e);
  }
  std::vector<char*> envp;
  for (auto& variable : variables) envp.push_back(variable.data());
  envp.push_back(nullptr);
  const FileActions actions(streams);
  if (posix_spawn(&pid_, binary.c_str(), actions.Get(), nullptr, argv.data(), envp.data()) != 0) {
    pid_ = 0;
    throw std::runtime_error("cannot start " + binary);
  }
}

ChildProcess::~ChildProcess() {
  if (pid_ == 0 || exitCode_) return;
  ::kill(pid_, SIGKILL);
  Reap(/*block=*/true);
}

bool ChildProcess::Reap(bool block) {
  if (exitCode_) return true;
  int status = 0;
  const pid_t done = ::waitpid(pid_, &status, block ? 0 : WNOHANG);
  if (done != pid_) return false;
  exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return true;
}

bool ChildProcess::Running() { return !Reap(/*block=*/false); }

void ChildProcess::Signal(int signal) const {
  if (!exitCode_) ::kill(pid_, signal);
}

std::optional<int> ChildProcess::Wait(std::chrono::milliseconds timeout) {
  const auto deadline = Clock::now() + timeout;
  while (!Reap(/*block=*/false)) {
    if (Clock::now() >= deadline) return std::nullopt;
    std::this_thread::sleep_for(kPoll);
  }
  return exitCode_;
}

int RunTool(const std::string& binary, const std::vector<std::string>& args,
            const ChildStreams& streams, std::chrono::milliseconds timeout) {
  ChildProcess tool(binary, args, streams);
  const auto code = tool.Wait(timeout);
  if (!code) throw std::runtime_error(binary + " did not finish in time");
  return *code;
}

}  // namespace zo::testing
