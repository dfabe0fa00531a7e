#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <exception>
#include <limits>
#include <optional>
#include <stop_token>
#include <string_view>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonChildProcessPlatform.h"
#include "QuillonCore/Text/QuillonScalars.h"

namespace quillon {
namespace {

constexpr std::size_t kLargestOutput = std::size_t{16} * 1024 * 1024;

/// When a child has had its time.
class Deadline {
 public:
  /// Without a limit that time never comes.
  Deadline(std::optional<std::chrono::nanoseconds> limit, const QuillonMonotonicTimeProvider& monotonicTimeProvider)
      : limit_(limit), monotonicTimeProvider_(monotonicTimeProvider), begin_(limit ? monotonicTimeProvider() : 0) {}

  /// Milliseconds that are left, rounded up, as poll(2) wants them: 0 when it has passed, -1 without a limit.
  [[nodiscard]] int pollTimeout() const {
    if (!limit_) return -1;
    const auto elapsed = std::chrono::nanoseconds(monotonicTimeProvider_() - begin_);
    if (elapsed >= *limit_) return 0;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*limit_ - elapsed).count();
    return static_cast<int>(std::min<std::int64_t>(left, std::numeric_limits<int>::max()));
  }

 private:
  const std::optional<std::chrono::nanoseconds> limit_;
  const QuillonMonotonicTimeProvider& monotonicTimeProvider_;
  const std::uint64_t begin_;
};

/// Wakes poll(2) when a stop is requested.
class StopSignal {
 public:
  explicit StopSignal(const std::stop_token& stopToken)
      : pipe_(stopToken.stop_possible() ? makePipe() : QuillonPipe()),
        callback_(stopToken, Wake{pipe_.writeEnd.get()}) {}

  /// Readable once a stop was requested; -1, which poll passes over, when none can be.
  [[nodiscard]] int descriptor() const noexcept { return pipe_.readEnd.get(); }

 private:
  struct Wake {
    int descriptor;
    void operator()() const noexcept {
      const char byte = 0;
      (void)!write(descriptor, &byte, 1);  // the first byte of a pipe always has room
    }
  };

  const QuillonPipe pipe_;
  const std::stop_callback<Wake> callback_;
};

/// Everything that posix_spawn is told about a child, other than what it runs.
class SpawnSettings {
 public:
  SpawnSettings(int output, bool hasOwnGroup) noexcept {
    if (!keep(posix_spawn_file_actions_init(&actions_))) return;
    hasActions_ = true;
    if (!keep(posix_spawnattr_init(&attributes_))) return;
    hasAttributes_ = true;
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    // Group 0 stands for a new one that the child leads.
    const auto flags =
        static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | (hasOwnGroup ? POSIX_SPAWN_SETPGROUP : 0));
    // A short circuit: the first failure is the one that is kept.
    (void)(keep(posix_spawnattr_setsigdefault(&attributes_, &all)) &&
           keep(posix_spawnattr_setsigmask(&attributes_, &none)) &&
           keep(posix_spawnattr_setflags(&attributes_, flags)) && keep(posix_spawnattr_setpgroup(&attributes_, 0)) &&
           keep(posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0)) &&
           keep(posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO)) &&
           keep(posix_spawn_file_actions_adddup2(&actions_, output, STDERR_FILENO)) &&
           keep(closeOtherDescriptors(actions_, attributes_)));
  }
  ~SpawnSettings() {
    if (hasAttributes_) posix_spawnattr_destroy(&attributes_);
    if (hasActions_) posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  [[nodiscard]] std::optional<pid_t> spawn(const std::string& executablePath, std::vector<std::string> words,
                                           QuillonProcessEnvironment environment) const {
    if (error_ != 0) return std::nullopt;
    std::vector<std::string> variables = environmentVariables(environment);
    pid_t child = 0;
    const int error = posix_spawn(&child, executablePath.c_str(), &actions_, &attributes_,
                                  pointersToStrings(words).data(), pointersToStrings(variables).data());
    return error == 0 ? std::optional(child) : std::nullopt;
  }

 private:
  bool keep(int error) noexcept {
    error_ = error;
    return error == 0;
  }

  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
  bool hasActions_ = false;
  bool hasAttributes_ = false;
  int error_ = 0;
};

/// A child that is waited for, at the latest when this object goes.
class Child {
 public:
  explicit Child(pid_t process) noexcept : process_(process), end_(descriptorOfProcessEnd(process)) {}
  ~Child() { (void)wait(); }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// Readable once the child has ended; -1 where the system cannot tell.
  [[nodiscard]] int endDescriptor() const noexcept { return end_.get(); }

  /// Whether the child has ended when `deadline` comes or a stop is requested; waits until one of them is so.
  [[nodiscard]] bool endsBefore(const Deadline& deadline, const StopSignal& stop,
                                const std::stop_token& stopToken) const {
    while (!hasEnded()) {
      const int left = deadline.pollTimeout();
      if (left == 0 || stopToken.stop_requested()) return false;
      std::array<pollfd, 2> events = {{{.fd = end_.get(), .events = POLLIN, .revents = 0},
                                       {.fd = stop.descriptor(), .events = POLLIN, .revents = 0}}};
      const bool mustLookAgain = !end_ && (left < 0 || left > kLookAgainMilliseconds);
      (void)poll(events.data(), events.size(), mustLookAgain ? kLookAgainMilliseconds : left);
    }
    return true;
  }

  /// Asks the child and the process group that it leads to end.
  void terminate() const noexcept {
    if (process_ < 0) return;
    if (::kill(-process_, SIGTERM) != 0) ::kill(process_, SIGTERM);  // it may have changed its group
  }

  /// Kills the child and the process group that it leads.
  void kill() const noexcept {
    if (process_ < 0) return;
    ::kill(-process_, SIGKILL);
    ::kill(process_, SIGKILL);  // it may have changed its group
  }

  /// Waits for the end; the status as a shell reports it.
  std::int32_t wait() noexcept {
    if (process_ < 0) return status_;
    int raw = 0;
    pid_t waited = 0;
    do {
      waited = waitpid(process_, &raw, 0);
    } while (waited < 0 && errno == EINTR);
    process_ = -1;
    if (waited < 0) return status_;  // somebody else took the status, as under an ignored SIGCHLD
    status_ = WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : WEXITSTATUS(raw);
    return status_;
  }

 private:
  /// How often to look where the system gives no descriptor of the end.
  static constexpr int kLookAgainMilliseconds = 10;

  [[nodiscard]] bool hasEnded() const noexcept {
    siginfo_t end{};
    // What fails for a child is waiting for one whose status somebody else took.
    return waitid(P_PID, static_cast<id_t>(process_), &end, WEXITED | WNOHANG | WNOWAIT) != 0 || end.si_pid != 0;
  }

  pid_t process_;
  FileDescriptor end_;
  std::int32_t status_ = 1;
};

/// Reads once, at most `limit` bytes, and says how many; 0 at the end of the output. What exceeds the largest output is
/// read, so that the writer can go on, and dropped.
std::size_t readSome(int descriptor, std::size_t limit, std::string& output) {
  std::array<char, 65536> buffer;  // filled by read
  const ssize_t count = read(descriptor, buffer.data(), std::min(limit, buffer.size()));
  if (count <= 0) return 0;
  output.append(buffer.data(), std::min(static_cast<std::size_t>(count), kLargestOutput - output.size()));
  return static_cast<std::size_t>(count);
}

/// Reads what the pipe holds at this moment; a writer that goes on does not prolong it.
void readWaiting(int descriptor, std::string& output) {
  int waiting = 0;
  if (ioctl(descriptor, FIONREAD, &waiting) != 0) return;
  auto left = static_cast<std::size_t>(waiting);
  while (left > 0) {
    const std::size_t count = readSome(descriptor, left, output);
    if (count == 0) return;
    left -= count;
  }
}

/// Reads until the output or the child has ended, `deadline` has come, or a stop is requested.
std::string readUntilEnd(int descriptor, const Child& child, const Deadline& deadline, const StopSignal& stop) {
  std::string output;
  for (;;) {
    const int left = deadline.pollTimeout();
    std::array<pollfd, 3> events = {{{.fd = descriptor, .events = POLLIN, .revents = 0},
                                     {.fd = child.endDescriptor(), .events = POLLIN, .revents = 0},
                                     {.fd = stop.descriptor(), .events = POLLIN, .revents = 0}}};
    if (poll(events.data(), events.size(), left) < 0) {
      if (errno == EINTR) continue;
      return output;
    }
    if (events[1].revents != 0 || events[2].revents != 0 || left == 0) {
      readWaiting(descriptor, output);
      return output;
    }
    if (events[0].revents != 0 && readSome(descriptor, kLargestOutput, output) == 0) return output;
  }
}

bool isUTF8(std::string_view text) noexcept {
  while (!text.empty()) {
    const char32_t scalar = takeFirstScalar(text);
    if (scalar >= 0xD800 && scalar <= 0xDFFF) return false;
  }
  return true;
}

/// Adds to what a child has put out that it got no further.
void addTimeLimitLine(std::string& output, const std::string& executablePath, std::chrono::nanoseconds limit) {
  if (!output.empty() && !output.ends_with('\n')) output += '\n';
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(limit).count();
  output += executablePath + ": killed when its time limit of " + std::to_string(milliseconds) + " ms was over\n";
}

QuillonProcessResult runChild(const std::string& executablePath, const std::vector<std::string>& arguments,
                              QuillonProcessEnvironment environment, std::optional<std::chrono::nanoseconds> timeLimit,
                              const QuillonMonotonicTimeProvider& monotonicTimeProvider,
                              std::chrono::nanoseconds timeToCleanUp, const std::stop_token& stopToken) {
  if (stopToken.stop_requested()) return {.status = 128 + SIGKILL, .output = {}};
  std::vector<std::string> words = {executablePath};
  words.insert(words.end(), arguments.begin(), arguments.end());
  QuillonPipe pipe = makePipe();
  if (!pipe.writeEnd || !executablePath.starts_with('/')) return {};
  const StopSignal stop(stopToken);
  const bool canBeKilled = timeLimit.has_value() || stopToken.stop_possible();
  const SpawnSettings settings(pipe.writeEnd.get(), canBeKilled);
  const Deadline deadline(timeLimit, monotonicTimeProvider);
  const auto process = settings.spawn(executablePath, std::move(words), environment);
  if (!process) return {};
  Child child(*process);
  pipe.writeEnd.reset();
  std::string output = readUntilEnd(pipe.readEnd.get(), child, deadline, stop);
  // Before its output is closed: a child that writes would end of that.
  const bool isKilled = canBeKilled && !child.endsBefore(deadline, stop, stopToken);
  if (isKilled && stopToken.stop_requested()) {
    child.terminate();
    (void)child.endsBefore(Deadline(timeToCleanUp, monotonicTimeProvider), StopSignal({}), {});
  }
  if (isKilled) child.kill();
  // A child still writing behind the reader's back, after an error of poll, must not wait for it forever.
  pipe.readEnd.reset();
  const std::int32_t status = child.wait();
  if (!isUTF8(output)) output.clear();
  // Between the look and the signal it may have ended by itself after all.
  if (isKilled && status == 128 + SIGKILL && !stopToken.stop_requested())
    addTimeLimitLine(output, executablePath, *timeLimit);
  return {.status = status, .output = std::move(output)};
}

}  // namespace

QuillonProcessResult QuillonPosixProcessRunner::run(const std::string& executablePath,
                                                    const std::vector<std::string>& arguments,
                                                    std::stop_token stopToken) noexcept {
  try {
    return runChild(executablePath, arguments, environment_, timeLimit_, monotonicTimeProvider_, timeToCleanUp_,
                    stopToken);
  } catch (const std::exception&) {  // no memory: the child was not started, or its output is lost
    return {};
  }
}

}  // namespace quillon
