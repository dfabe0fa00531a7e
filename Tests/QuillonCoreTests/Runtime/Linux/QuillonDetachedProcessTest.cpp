#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <optional>
#include <sstream>
#include <string>

#include "QuillonCore/Runtime/Linux/QuillonDetachedProcess.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/ReportFifo.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::ReportFifo;
using testing::TemporaryDirectory;

class QuillonDetachedProcessTest : public ::testing::Test {
 protected:
  /// What `script`, run detached, prints.
  std::string outputOf(const std::string& script) {
    startDetachedProcess("/bin/sh", {"-c", "{ " + script + "; } > \"$0\"", report_.path().string()},
                         QuillonProcessEnvironment::minimal);
    return report_.read();
  }

  /// The error of starting `path`, if it fails.
  static std::optional<std::int64_t> errorOfStarting(const std::string& path) {
    try {
      startDetachedProcess(path, {}, QuillonProcessEnvironment::minimal);
    } catch (const QuillonSystemError& error) {
      return error.code();
    }
    return std::nullopt;
  }

  TemporaryDirectory folder_;
  ReportFifo report_{folder_ / "report"};
};

TEST_F(QuillonDetachedProcessTest, IsNoChildAndHasItsOwnSession) {
  // Fields 4, 5 and 6 of proc(5)'s stat: parent, process group, session.
  std::istringstream fields(
      outputOf("read -r pid name state parent group session rest < /proc/self/stat; "
               "echo $parent $group $session"));
  pid_t parent = 0;
  pid_t group = 0;
  pid_t session = 0;
  fields >> parent >> group >> session;

  EXPECT_NE(parent, getpid());
  EXPECT_EQ(group, session);
  EXPECT_NE(session, getsid(0));
}

TEST_F(QuillonDetachedProcessTest, RunsInTheRootFolderWithSilentStandardStreams) {
  EXPECT_EQ(outputOf("pwd; readlink /proc/$$/fd/0 /proc/$$/fd/2"), "/\n/dev/null\n/dev/null\n");
}

TEST_F(QuillonDetachedProcessTest, InheritsNoDescriptor) {
  const FileDescriptor inheritable(fcntl(STDERR_FILENO, F_DUPFD, 57));
  const std::string entry = "/proc/self/fd/" + std::to_string(inheritable.get());

  EXPECT_EQ(outputOf("[ -e " + entry + " ] && echo open || echo closed"), "closed\n");
}

TEST_F(QuillonDetachedProcessTest, FindsTheDescriptorItWasGivenUnderItsNumberAndNoOther) {
  testing::writeFile(folder_ / "given", "what it says");
  const FileDescriptor given(open((folder_ / "given").c_str(), O_RDONLY | O_CLOEXEC));
  // The shell opens its own files at 10 and above.
  testing::writeScript(folder_ / "program",
                       "{ cat <&3; for n in 4 5 6 7 8 9; do [ -e /proc/$$/fd/$n ] && echo $n; done; } > \"$1\"");

  startDetachedProcess((folder_ / "program").string(), {report_.path().string()}, QuillonProcessEnvironment::minimal,
                       given);

  EXPECT_EQ(report_.read(), "what it says");
}

TEST_F(QuillonDetachedProcessTest, HasDefaultSignals) {
  sigset_t termination;
  sigset_t previousMask;
  sigemptyset(&termination);
  sigaddset(&termination, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &termination, &previousMask);
  auto* const previousHandler = std::signal(SIGPIPE, SIG_IGN);

  const std::string output = outputOf("kill -TERM $$; echo survived");
  const std::string pipeOutput = outputOf("kill -PIPE $$; echo survived");

  std::signal(SIGPIPE, previousHandler);
  pthread_sigmask(SIG_SETMASK, &previousMask, nullptr);
  EXPECT_EQ(output, "");
  EXPECT_EQ(pipeOutput, "");
}

TEST_F(QuillonDetachedProcessTest, ReportsWhatCannotBeExecuted) {
  testing::writeFile(folder_ / "plain", "text");
  testing::writeScript(folder_ / "script", "true");
  testing::writeFile(folder_ / "script", "#!/no/such/interpreter\n");

  EXPECT_EQ(errorOfStarting((folder_ / "missing").string()), ENOENT);
  EXPECT_EQ(errorOfStarting((folder_ / "plain").string()), EACCES);
  EXPECT_EQ(errorOfStarting((folder_ / "script").string()), ENOENT);
  EXPECT_EQ(errorOfStarting(folder_.path().string()), EACCES);
  EXPECT_EQ(errorOfStarting("sh"), ENOENT) << "nothing is searched";
  EXPECT_EQ(errorOfStarting("/bin/true"), std::nullopt);
}

TEST_F(QuillonDetachedProcessTest, HasStandardStreamsWhicheverOnesItsStarterHasClosed) {
  testing::writeFile(folder_ / "given", "what it says");
  testing::writeScript(folder_ / "program",
                       "streams=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2)\n"
                       "{ echo \"$streams\"; cat <&3; } > \"$1\"");
  const auto startWithClosedStreams = [&](unsigned closed) noexcept {
    const FileDescriptor given(fcntl(open((folder_ / "given").c_str(), O_RDONLY | O_CLOEXEC), F_DUPFD_CLOEXEC, 10));
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
      if ((closed >> stream & 1U) != 0) close(stream);
    }
    startDetachedProcess((folder_ / "program").string(), {report_.path().string()}, QuillonProcessEnvironment::minimal,
                         given);
  };

  for (unsigned closed = 1; closed < 8; ++closed) {
    SCOPED_TRACE(closed);
    const pid_t starter = fork();
    if (starter == 0) {
      startWithClosedStreams(closed);
      _exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(starter, &status, 0), starter);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(report_.read(), "/dev/null\n/dev/null\n/dev/null\nwhat it says");
  }
}

TEST_F(QuillonDetachedProcessTest, WorksWithoutStandardStreams) {
  const FileDescriptor savedInput(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10));
  const FileDescriptor savedOutput(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10));
  close(STDIN_FILENO);
  close(STDOUT_FILENO);

  const auto error = errorOfStarting((folder_ / "missing").string());

  if (savedInput) dup2(savedInput.get(), STDIN_FILENO);
  dup2(savedOutput.get(), STDOUT_FILENO);
  EXPECT_EQ(error, ENOENT) << "the report travels above the standard descriptors";
}

}  // namespace
}  // namespace quillon
