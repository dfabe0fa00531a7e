#include "QuillonCore/Runtime/Linux/QuillonDetachedProcess.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "QuillonCore/Runtime/Posix/QuillonChildProcessPlatform.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

/// What a child needs of its parent, made before the fork: behind it, only async-signal-safe calls are allowed.
struct Program {
  const char* path;
  char* const* arguments;
  char* const* environment;
  /// What the program gets as kDetachedProcessDescriptor; -1 for nothing.
  int descriptor;
};

/// Blocks all signals while it lives, so that no handler of this process runs in a child.
class SignalBlock {
 public:
  SignalBlock() noexcept {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous_);
  }
  ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
  SignalBlock(const SignalBlock&) = delete;
  SignalBlock& operator=(const SignalBlock&) = delete;

 private:
  sigset_t previous_{};
};

/// Reports errno to the waiting process and ends this one.
[[noreturn]] void reportAndExit(int report) noexcept {
  const int error = errno;
  // A pipe with room for it and a reader that waits: this fails only when that reader was killed.
  (void)!write(report, &error, sizeof error);
  _exit(127);
}

void resetSignals() noexcept {
  for (int signal = 1; signal < NSIG; ++signal) std::signal(signal, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Closes everything above the standard streams but the program's descriptor and `report`, both above the number that
/// the former gets. -1 on failure.
int keepDescriptors(int descriptor, int report) noexcept {
  unsigned first = kDetachedProcessDescriptor;
  if (descriptor >= 0 && dup2(descriptor, static_cast<int>(first++)) < 0) return -1;
  const auto kept = static_cast<unsigned>(report);
  if (kept > first && close_range(first, kept - 1, 0) != 0) return -1;
  return close_range(kept + 1, ~0U, 0);
}

[[noreturn]] void becomeProgram(const Program& program, int report) noexcept {
  // Without O_CLOEXEC, which would stay when this is one of the standard descriptors already because the parent has it
  // closed. Above them it is closed below.
  const int null = open("/dev/null", O_RDWR);
  if (null < 0) reportAndExit(report);
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (dup2(null, descriptor) < 0) reportAndExit(report);
  }
  if (keepDescriptors(program.descriptor, report) != 0 || chdir("/") != 0) reportAndExit(report);
  resetSignals();
  execve(program.path, program.arguments, program.environment);
  reportAndExit(report);
}

[[noreturn]] void leaveFamily(const Program& program, int report) noexcept {
  if (setsid() < 0) reportAndExit(report);
  // The second child leads no session, so it can never take a terminal, and belongs to nobody here.
  const pid_t grandchild = _Fork();
  if (grandchild < 0) reportAndExit(report);
  if (grandchild == 0) becomeProgram(program, report);
  _exit(0);
}

/// The error that a child reported; 0 when the program closed the pipe by taking the child's place.
int reportedError(int report) noexcept {
  int error = 0;
  ssize_t count = 0;
  do {
    count = read(report, &error, sizeof error);
  } while (count < 0 && errno == EINTR);
  return count == static_cast<ssize_t>(sizeof error) ? error : 0;
}

/// A copy of `descriptor` above the numbers that the child replaces.
FileDescriptor liftedDescriptor(const FileDescriptor& descriptor) noexcept {
  return FileDescriptor(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, kDetachedProcessDescriptor + 1));
}

/// 0, or the errno value.
int start(const Program& program) noexcept {
  QuillonPipe pipe = makePipe();
  FileDescriptor report = liftedDescriptor(pipe.writeEnd);
  if (!report) return errno;
  pipe.writeEnd.reset();
  pid_t child = 0;
  int error = 0;
  {
    const SignalBlock block;
    child = fork();
    if (child == 0) leaveFamily(program, report.get());
    error = errno;
  }
  if (child < 0) return error;
  report.reset();
  while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
  return reportedError(pipe.readEnd.get());
}

}  // namespace

void startDetachedProcess(const std::string& executablePath, const std::vector<std::string>& arguments,
                          QuillonProcessEnvironment environment, const FileDescriptor& descriptor) {
  const auto fail = [&](int error) { throw QuillonSystemError::posix(error, "start", executablePath); };
  if (!executablePath.starts_with('/')) fail(ENOENT);
  std::vector<std::string> words = {executablePath};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = environmentVariables(environment);
  const std::vector<char*> wordPointers = pointersToStrings(words);
  const std::vector<char*> variablePointers = pointersToStrings(variables);
  FileDescriptor passed;
  if (descriptor) {
    passed = liftedDescriptor(descriptor);
    if (!passed) fail(errno);
  }
  const int error = start({.path = executablePath.c_str(),
                           .arguments = wordPointers.data(),
                           .environment = variablePointers.data(),
                           .descriptor = passed.get()});
  if (error != 0) fail(error);
}

}  // namespace quillon
