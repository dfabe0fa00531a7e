#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Support/ReportFifo.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using testing::TemporaryDirectory;

QuillonProcessResult runShell(const std::string& script) {
  return QuillonPosixProcessRunner().run("/bin/sh", {"-c", script});
}

TEST(QuillonPosixProcessRunnerTest, ReportsStatusAndJoinedOutput) {
  const QuillonProcessResult result = runShell("echo one; echo two >&2; echo three; exit 7");

  EXPECT_EQ(result, (QuillonProcessResult{.status = 7, .output = "one\ntwo\nthree\n"}));
}

TEST(QuillonPosixProcessRunnerTest, PassesArgumentsLiterally) {
  const QuillonProcessResult result = QuillonPosixProcessRunner().run("/bin/echo", {"$HOME", "a  b", "", "*"});

  EXPECT_EQ(result, (QuillonProcessResult{.status = 0, .output = "$HOME a  b  *\n"}));
}

TEST(QuillonPosixProcessRunnerTest, ReadsMoreThanAPipeHolds) {
  const QuillonProcessResult result = runShell("head -c 1048576 /dev/zero | tr '\\000' x");

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, std::string(1048576, 'x'));
}

TEST(QuillonPosixProcessRunnerTest, KeepsTheFirst16MiBOfOutput) {
  const QuillonProcessResult result = runShell("echo begin; head -c 17825792 /dev/zero; exit 3");

  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.output.size(), 16U * 1024 * 1024);
  EXPECT_TRUE(result.output.starts_with("begin\n"));
}

TEST(QuillonPosixProcessRunnerTest, DeathBySignalIs128PlusItsNumber) {
  EXPECT_EQ(runShell("echo last words; kill -TERM $$"),
            (QuillonProcessResult{.status = 128 + SIGTERM, .output = "last words\n"}));
}

TEST(QuillonPosixProcessRunnerTest, WhatCannotBeStartedIsStatus1WithoutOutput) {
  const TemporaryDirectory folder;
  testing::writeFile(folder / "plain", "#!/bin/sh\n");
  QuillonPosixProcessRunner runner;

  EXPECT_EQ(runner.run((folder / "missing").string(), {}), QuillonProcessResult{});
  EXPECT_EQ(runner.run((folder / "plain").string(), {}), QuillonProcessResult{}) << "not executable";
  EXPECT_EQ(runner.run("true", {}), QuillonProcessResult{}) << "nothing is searched";
  EXPECT_EQ(runner.run("", {}), QuillonProcessResult{});
}

TEST(QuillonPosixProcessRunnerTest, OutputThatIsNotUTF8IsDropped) {
  EXPECT_EQ(runShell("printf 'a\\377b'; exit 2"), (QuillonProcessResult{.status = 2, .output = ""}));
  EXPECT_EQ(runShell("printf 'a\\303\\251b'").output, "a\u00E9b");
}

TEST(QuillonPosixProcessRunnerTest, DoesNotWaitForABackgroundProcessThatHoldsTheOutput) {
  const TemporaryDirectory folder;
  const std::string fifo = (folder / "fifo").string();
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);

  const QuillonProcessResult result = runShell("cat '" + fifo + "' & echo started");

  EXPECT_EQ(result, (QuillonProcessResult{.status = 0, .output = "started\n"}));
  const FileDescriptor release(open(fifo.c_str(), O_WRONLY));  // cat reads the end and goes
  EXPECT_TRUE(release);
}

TEST(QuillonPosixProcessRunnerTest, DoesNotReadOnBehindABackgroundProcessThatKeepsWriting) {
  const QuillonProcessResult result = runShell("yes & echo $! >&2; exit 5");

  EXPECT_EQ(result.status, 5);
  EXPECT_THAT(result.output, HasSubstr("\n")) << "and yes ends of the broken pipe";
}

TEST(QuillonPosixProcessRunnerTest, StandardInputIsEmpty) {
  EXPECT_EQ(QuillonPosixProcessRunner().run("/bin/cat", {}), (QuillonProcessResult{.status = 0, .output = ""}));
}

TEST(QuillonPosixProcessRunnerTest, ChildInheritsNoDescriptor) {
  const FileDescriptor inheritable(fcntl(STDERR_FILENO, F_DUPFD, 57));
  ASSERT_TRUE(inheritable);

  const QuillonProcessResult result =
      runShell("[ -e /dev/fd/" + std::to_string(inheritable.get()) + " ] && echo open || echo closed");

  EXPECT_EQ(result.output, "closed\n");
}

TEST(QuillonPosixProcessRunnerTest, ChildStartsWithDefaultSignalsAndAnEmptyMask) {
  sigset_t termination;
  sigset_t previousMask;
  sigemptyset(&termination);
  sigaddset(&termination, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &termination, &previousMask);
  auto* const previousHandler = std::signal(SIGPIPE, SIG_IGN);

  const QuillonProcessResult ofBlocked = runShell("kill -TERM $$; echo survived");
  const QuillonProcessResult ofIgnored = runShell("kill -PIPE $$; echo survived");

  std::signal(SIGPIPE, previousHandler);
  pthread_sigmask(SIG_SETMASK, &previousMask, nullptr);
  EXPECT_EQ(ofBlocked, (QuillonProcessResult{.status = 128 + SIGTERM, .output = ""}));
  EXPECT_EQ(ofIgnored, (QuillonProcessResult{.status = 128 + SIGPIPE, .output = ""}));
}

TEST(QuillonPosixProcessRunnerTest, MinimalEnvironmentHoldsOnlyPathAndLanguage) {
  QuillonPosixProcessRunner runner(QuillonProcessEnvironment::minimal);

  EXPECT_EQ(runner.run("/usr/bin/env", {}).output, "PATH=/usr/bin:/bin\nLANG=C.UTF-8\n");
}

TEST(QuillonPosixProcessRunnerTest, InheritedEnvironmentIsThisProcesss) {
  setenv("QUILLON_TEST_VARIABLE", "value", 1);
  QuillonPosixProcessRunner runner(QuillonProcessEnvironment::inherited);

  const std::string output = runner.run("/usr/bin/env", {}).output;

  unsetenv("QUILLON_TEST_VARIABLE");
  EXPECT_THAT(output, HasSubstr("QUILLON_TEST_VARIABLE=value\n"));
}

/// Children that wait for something that does not come.
class QuillonPosixProcessRunnerTimeLimitTest : public ::testing::Test {
 protected:
  using Limit = std::chrono::nanoseconds;

  static QuillonProcessResult runShell(const std::string& script, Limit limit) {
    return QuillonPosixProcessRunner(QuillonProcessEnvironment::minimal, limit).run("/bin/sh", {"-c", script});
  }

  /// With a limit that is over once the child has put something out, however long that takes.
  static QuillonProcessResult runShellUntilItsFirstOutput(const std::string& script) {
    const Limit limit = std::chrono::hours(1);
    int looks = 0;
    // Looked at when the limit begins, before the output is waited for, and after it has come.
    const auto clock = [&looks, limit] { return looks++ < 2 ? 0 : static_cast<std::uint64_t>(limit.count()); };
    return QuillonPosixProcessRunner(QuillonProcessEnvironment::minimal, limit, clock).run("/bin/sh", {"-c", script});
  }

  static void expectNoChildIsLeft() {
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
  }

  TemporaryDirectory folder_;
  testing::ReportFifo fifo_{folder_ / "fifo"};
  /// What a script does that has to be killed.
  std::string hang_ = "read line < " + fifo_.path().string();
};

TEST_F(QuillonPosixProcessRunnerTimeLimitTest, AChildThatWaitsForEverIsKilledAndTheOutputSaysSo) {
  const QuillonProcessResult result = runShell(hang_, std::chrono::milliseconds(50));

  EXPECT_EQ(result, (QuillonProcessResult{.status = 128 + SIGKILL,
                                          .output = "/bin/sh: killed when its time limit of 50 ms was over\n"}));
  expectNoChildIsLeft();
}

TEST_F(QuillonPosixProcessRunnerTimeLimitTest, TheOutputIsKeptAsFarAsItCame) {
  const QuillonProcessResult result = runShellUntilItsFirstOutput("printf begun; " + hang_);

  EXPECT_EQ(result.status, 128 + SIGKILL);
  EXPECT_EQ(result.output, "begun\n/bin/sh: killed when its time limit of 3600000 ms was over\n");
}

TEST_F(QuillonPosixProcessRunnerTimeLimitTest, WhatTheChildHasStartedIsKilledWithIt) {
  const testing::ReportFifo held(folder_ / "held");
  const FileDescriptor noWriterYet(open(held.path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  const FileDescriptor release(open(fifo_.path().c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_TRUE(noWriterYet && release);

  const QuillonProcessResult result = runShellUntilItsFirstOutput("exec 3> " + held.path().string() + "; { " + hang_ +
                                                                  "; echo survived >&3; } & echo begun; wait");

  ASSERT_EQ(result.status, 128 + SIGKILL);
  ASSERT_EQ(write(release.get(), "\n", 1), 1);
  fcntl(noWriterYet.get(), F_SETFL, 0);
  std::array<char, 16> said{};
  EXPECT_EQ(read(noWriterYet.get(), said.data(), said.size()), 0) << said.data();
}

TEST_F(QuillonPosixProcessRunnerTimeLimitTest, AChildThatHasClosedItsOutputIsKilledToo) {
  const QuillonProcessResult result = runShell("exec >&- 2>&-; " + hang_, std::chrono::milliseconds(50));

  EXPECT_EQ(result.status, 128 + SIGKILL);
  expectNoChildIsLeft();
}

TEST_F(QuillonPosixProcessRunnerTimeLimitTest, AChildThatNeverStopsWritingIsKilledToo) {
  const QuillonProcessResult result = runShell("exec yes", std::chrono::milliseconds(50));

  EXPECT_EQ(result.status, 128 + SIGKILL);
  EXPECT_TRUE(result.output.ends_with("/bin/sh: killed when its time limit of 50 ms was over\n"));
}

TEST_F(QuillonPosixProcessRunnerTimeLimitTest, AChildThatEndsInTimeIsAsWithoutALimit) {
  EXPECT_EQ(runShell("echo one; exit 7", std::chrono::hours(1)),
            (QuillonProcessResult{.status = 7, .output = "one\n"}));
  EXPECT_EQ(runShell("exec >&- 2>&-; exit 3", std::chrono::hours(1)),
            (QuillonProcessResult{.status = 3, .output = ""}));
  EXPECT_EQ(runShell("kill -KILL $$", std::chrono::hours(1)),
            (QuillonProcessResult{.status = 128 + SIGKILL, .output = ""}));
}

/// Children that are told to stop by somebody else.
class QuillonPosixProcessRunnerStopTest : public QuillonPosixProcessRunnerTimeLimitTest {
 protected:
  /// Requests the stop once the child has run `preparation`.
  QuillonProcessResult runShellUntilItReports(const std::string& script, const std::string& preparation = ":",
                                              QuillonPosixProcessRunner runner = QuillonPosixProcessRunner()) {
    const testing::ReportFifo report(folder_ / "report");
    std::jthread stopper([&] {
      (void)report.read();
      stop_.request_stop();
    });
    return runner.run("/bin/sh",
                      {"-c", "printf begun; " + preparation + "; echo > " + report.path().string() + "; " + script},
                      stop_.get_token());
  }

  std::stop_source stop_;
};

TEST_F(QuillonPosixProcessRunnerStopTest, AStopEndsTheChildAndKeepsItsOutput) {
  EXPECT_EQ(runShellUntilItReports(hang_), (QuillonProcessResult{.status = 128 + SIGTERM, .output = "begun"}));
  expectNoChildIsLeft();
}

TEST_F(QuillonPosixProcessRunnerStopTest, AStopEndsAChildThatHasClosedItsOutput) {
  EXPECT_EQ(runShellUntilItReports("exec >&- 2>&-; " + hang_).status, 128 + SIGTERM);
  expectNoChildIsLeft();
}

TEST_F(QuillonPosixProcessRunnerStopTest, AStopEndsAChildThatNeverStopsWriting) {
  EXPECT_EQ(runShellUntilItReports("exec yes").status, 128 + SIGTERM);
  expectNoChildIsLeft();
}

TEST_F(QuillonPosixProcessRunnerStopTest, AStopEndsWhatTheChildHasStarted) {
  const testing::ReportFifo held(folder_ / "held");
  const FileDescriptor noWriterYet(open(held.path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  const FileDescriptor release(open(fifo_.path().c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_TRUE(noWriterYet && release);

  const QuillonProcessResult result =
      runShellUntilItReports("exec 3> " + held.path().string() + "; { " + hang_ + "; echo survived >&3; } & wait");

  ASSERT_EQ(result.status, 128 + SIGTERM);
  ASSERT_EQ(write(release.get(), "\n", 1), 1);
  fcntl(noWriterYet.get(), F_SETFL, 0);
  std::array<char, 16> said{};
  EXPECT_EQ(read(noWriterYet.get(), said.data(), said.size()), 0) << said.data();
}

TEST_F(QuillonPosixProcessRunnerStopTest, AStoppedChildCanCleanUp) {
  const std::filesystem::path begun = folder_ / "begun";

  const QuillonProcessResult result =
      runShellUntilItReports(hang_, "trap 'rm " + begun.string() + "; exit 5' TERM; echo > " + begun.string());

  EXPECT_EQ(result.status, 5);
  EXPECT_FALSE(std::filesystem::exists(begun));
}

TEST_F(QuillonPosixProcessRunnerStopTest, ARunnerCanGiveAChildLongerToCleanUp) {
  int looks = 0;
  // More than children have otherwise is over at the first look after the stop.
  const auto clock = [&looks] {
    const std::chrono::nanoseconds passed = looks++ == 0 ? std::chrono::nanoseconds(0) : 2 * kDefaultTimeToCleanUp;
    return static_cast<std::uint64_t>(passed.count());
  };
  const QuillonPosixProcessRunner runner(environmentForOwnPrivileges(), std::nullopt, clock, std::chrono::hours(1));

  const QuillonProcessResult result = runShellUntilItReports(hang_, "trap 'exit 5' TERM", runner);

  EXPECT_EQ(result.status, 5);
}

TEST_F(QuillonPosixProcessRunnerStopTest, AChildThatDoesNotCareIsKilled) {
  EXPECT_EQ(runShellUntilItReports(hang_, "trap '' TERM").status, 128 + SIGKILL);
  expectNoChildIsLeft();
}

TEST_F(QuillonPosixProcessRunnerStopTest, WhatAStoppedChildLeavesRunningIsKilled) {
  const testing::ReportFifo held(folder_ / "held");
  const FileDescriptor noWriterYet(open(held.path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  ASSERT_TRUE(noWriterYet);

  (void)runShellUntilItReports("wait",
                               "exec 3> " + held.path().string() + "; trap '' TERM; (" + hang_ + ") & trap - TERM");

  fcntl(noWriterYet.get(), F_SETFL, 0);
  char byte = 0;
  EXPECT_EQ(read(noWriterYet.get(), &byte, 1), 0);  // nobody holds the other end any more
}

TEST_F(QuillonPosixProcessRunnerStopTest, AfterAStopNothingIsStarted) {
  stop_.request_stop();

  const QuillonProcessResult result = QuillonPosixProcessRunner().run(
      "/bin/sh", {"-c", "echo > '" + (folder_ / "started").string() + "'"}, stop_.get_token());

  EXPECT_EQ(result, (QuillonProcessResult{.status = 128 + SIGKILL, .output = ""}));
  EXPECT_FALSE(std::filesystem::exists(folder_ / "started"));
}

TEST_F(QuillonPosixProcessRunnerStopTest, AChildThatEndsByItselfIsAsWithoutAStop) {
  EXPECT_EQ(QuillonPosixProcessRunner().run("/bin/sh", {"-c", "echo one; exit 7"}, stop_.get_token()),
            (QuillonProcessResult{.status = 7, .output = "one\n"}));
}

}  // namespace
}  // namespace quillon
