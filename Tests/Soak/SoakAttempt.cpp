#include "Soak/SoakAttempt.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <thread>
#include <utility>

#include "Soak/SoakProcesses.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr auto kSettleLimit = std::chrono::minutes(1);
constexpr auto kLookInterval = std::chrono::microseconds(500);
/// The application itself, which is to run on.
constexpr const char* kApplicationProgram = "Sample";

std::vector<char*> pointersTo(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// The program writes to `output` and leads a process group of its own, as a shell's jobs do.
pid_t start(std::vector<std::string> words, std::vector<std::string> environment, const fs::path& output) {
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  posix_spawnattr_t attributes{};
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  pid_t process = 0;
  const int error = posix_spawn(&process, words.front().c_str(), &actions, &attributes, pointersTo(words).data(),
                                pointersTo(environment).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("cannot start " + words.front());
  return process;
}

std::vector<std::string> environmentIn(const fs::path& folder) {
  return {"PATH=/usr/bin:/bin",
          "LC_ALL=C.UTF-8",
          "HOME=" + (folder / "Home").string(),
          "XDG_CONFIG_HOME=" + (folder / "Home/Settings").string(),
          "XDG_DATA_HOME=" + (folder / "Work/Support").string(),
          "TMPDIR=" + (folder / "Work/Temporary").string()};
}

/// Kills the first process of a program some time after it appeared.
class Killing {
 public:
  explicit Killing(std::optional<SoakKill> plan) : plan_(std::move(plan)) {}

  void look(const std::vector<SoakProcess>& processes) {
    if (!plan_ || hasKilled_) return;
    const auto victim = std::ranges::find(processes, plan_->program, &SoakProcess::program);
    if (victim == processes.end()) return;
    if (!seen_) seen_ = Clock::now();
    if (Clock::now() - *seen_ < plan_->delay) return;
    hasKilled_ = kill(victim->identifier, SIGKILL) == 0;
  }
  [[nodiscard]] bool hasKilled() const noexcept { return hasKilled_; }

 private:
  const std::optional<SoakKill> plan_;
  std::optional<Clock::time_point> seen_;
  bool hasKilled_ = false;
};

/// When programs were seen first and last.
class Sightings {
 public:
  void look(const std::vector<SoakProcess>& processes) {
    const auto now = Clock::now();
    for (const SoakProcess& process : processes)
      spans_.try_emplace(process.program, now, now).first->second.second = now;
  }
  [[nodiscard]] std::map<std::string, std::chrono::microseconds> lifetimes() const {
    std::map<std::string, std::chrono::microseconds> lifetimes;
    for (const auto& [program, span] : spans_) {
      lifetimes[program] = std::chrono::duration_cast<std::chrono::microseconds>(span.second - span.first);
    }
    return lifetimes;
  }

 private:
  std::map<std::string, std::pair<Clock::time_point, Clock::time_point>> spans_;
};

bool isOnlyTheApplication(const std::vector<SoakProcess>& processes) {
  return std::ranges::all_of(processes,
                             [](const SoakProcess& process) { return process.program == kApplicationProgram; });
}

}  // namespace

SoakAttemptOutcome runSoakAttempt(const fs::path& folder, const std::vector<std::string>& command,
                                  const std::optional<SoakKill>& kill) {
  const fs::path output = folder / "output";
  const auto begin = Clock::now();
  const pid_t host = start(command, environmentIn(folder), output);

  SoakAttemptOutcome outcome;
  Killing killing(kill);
  Sightings sightings;
  for (bool hasEnded = false; !outcome.hasSettled && Clock::now() - begin < kSettleLimit;) {
    const std::vector<SoakProcess> processes = processesAbout(folder);
    killing.look(processes);
    sightings.look(processes);
    int status = 0;
    if (!hasEnded && waitpid(host, &status, WNOHANG) == host) {
      hasEnded = true;
      outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
      continue;  // what it started as its last act is looked for once more
    }
    outcome.hasSettled = hasEnded && isOnlyTheApplication(processes);
    std::this_thread::sleep_for(kLookInterval);
  }
  if (!outcome.hasSettled) {
    for (const SoakProcess& process : processesAbout(folder)) (void)::kill(process.identifier, SIGKILL);
    (void)waitpid(host, nullptr, 0);  // fails where it has ended before
  }
  outcome.lifetimes = sightings.lifetimes();
  outcome.hasKilled = killing.hasKilled();
  outcome.output = readFile(output);
  return outcome;
}

}  // namespace quillon::testing
