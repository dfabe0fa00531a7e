#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Support/ReportFifo.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;
using testing::ReportFifo;
using ::testing::StartsWith;
using testing::TemporaryDirectory;

constexpr uid_t kNobody = 65534;

QuillonProcessResult runLaunchctl(const std::vector<std::string>& arguments) {
  return QuillonPosixProcessRunner(QuillonProcessEnvironment::inherited)
      .run(QUILLON_BINARY_FOLDER "/quillon-launchctl", arguments);
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// The command run by root as a user who has next to no rights.
class QuillonLaunchctlAsRootTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    if (getpwuid(kNobody) == nullptr) GTEST_SKIP() << "there is no user " << kNobody;
  }

  static QuillonProcessResult runAsNobody(std::vector<std::string> command) {
    command.insert(command.begin(), {"asuser", std::to_string(kNobody)});
    return runLaunchctl(command);
  }
  static QuillonProcessResult shellAsNobody(const std::string& script) {
    return runAsNobody({"/bin/sh", "-c", script});
  }
};

TEST_F(QuillonLaunchctlAsRootTest, RunsTheCommandAsTheUserAlone) {
  const QuillonProcessResult result = runAsNobody({"/bin/cat", "/proc/self/status"});

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(linesOf(result.output),
              IsSupersetOf({"Uid:\t65534\t65534\t65534\t65534", "Gid:\t65534\t65534\t65534\t65534",
                            "CapPrm:\t0000000000000000", "CapEff:\t0000000000000000", "CapAmb:\t0000000000000000"}));
  EXPECT_THAT(result.output, HasSubstr("\nGroups:\t65534 \n")) << "root's groups are gone, the user's own are there";
}

TEST_F(QuillonLaunchctlAsRootTest, EnvironmentIsMadeAnew) {
  setenv("QUILLON_TEST_VARIABLE", "of root", 1);
  setenv("LD_LIBRARY_PATH", "/tmp", 1);

  const QuillonProcessResult result = runAsNobody({"/usr/bin/env"});

  unsetenv("QUILLON_TEST_VARIABLE");
  unsetenv("LD_LIBRARY_PATH");
  const passwd* const entry = getpwuid(kNobody);
  EXPECT_THAT(linesOf(result.output),
              IsSupersetOf({std::string("HOME=") + entry->pw_dir, std::string("USER=") + entry->pw_name,
                            std::string("LOGNAME=") + entry->pw_name, std::string("SHELL=") + entry->pw_shell,
                            std::string("PATH=/usr/local/bin:/usr/bin:/bin")}));
  EXPECT_THAT(result.output, Not(HasSubstr("QUILLON_TEST_VARIABLE")));
  EXPECT_THAT(result.output, Not(HasSubstr("LD_LIBRARY_PATH")));
  EXPECT_THAT(result.output, Not(HasSubstr("XDG_RUNTIME_DIR"))) << "the user has no run-time folder";
}

TEST_F(QuillonLaunchctlAsRootTest, FindsTheDisplayOfTheUsersSession) {
  const TemporaryDirectory folder;
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  const ReportFifo ready(folder / "ready");
  const ReportFifo end(folder / "end");
  // A process of the user that stands for the session, until the test writes to its pipe.
  const std::string session =
      "echo ready > '" + ready.path().string() + "'; read -r line < '" + end.path().string() + "'";
  const QuillonProcessResult started = QuillonPosixProcessRunner().run(
      "/bin/sh", {"-c",
                  "/usr/bin/setpriv --reuid 65534 --regid 65534 --clear-groups /usr/bin/env -i DISPLAY=:77 "
                  "XAUTHORITY=/run/authority LANG=de_DE.UTF-8 SECRET=x /bin/sh -c \"$0\" > /dev/null 2>&1 &",
                  session});
  ASSERT_EQ(started.status, 0);
  ASSERT_EQ(ready.read(), "ready\n");

  const QuillonProcessResult result = runAsNobody({"/usr/bin/env"});

  testing::writeFile(end.path(), "\n");
  EXPECT_THAT(linesOf(result.output),
              IsSupersetOf({std::string("DISPLAY=:77"), std::string("XAUTHORITY=/run/authority"),
                            std::string("LANG=de_DE.UTF-8")}));
  EXPECT_THAT(result.output, Not(HasSubstr("SECRET")));
}

TEST_F(QuillonLaunchctlAsRootTest, CannotReadOrWriteWhatIsRoots) {
  const TemporaryDirectory folder;
  testing::writeFile(folder / "secret", "x");
  std::filesystem::permissions(folder / "secret", std::filesystem::perms(0600));
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));

  EXPECT_NE(runAsNobody({"/bin/cat", (folder / "secret").string()}).status, 0);
  EXPECT_NE(runAsNobody({"/usr/bin/touch", (folder / "made").string()}).status, 0);
}

TEST_F(QuillonLaunchctlAsRootTest, DescriptorsOfTheCallerAreClosed) {
  const FileDescriptor inheritable(fcntl(STDERR_FILENO, F_DUPFD, 57));

  const QuillonProcessResult result = shellAsNobody("ls /proc/$$/fd | tr '\\n' ' '");

  EXPECT_EQ(result.output.substr(0, 6), "0 1 2 ");
  EXPECT_THAT(result.output, Not(HasSubstr("57")));
}

TEST_F(QuillonLaunchctlAsRootTest, StatusAndArgumentsAreTheCommandsOwn) {
  EXPECT_EQ(runAsNobody({"/bin/sh", "-c", "exit 9"}).status, 9);
  EXPECT_EQ(runAsNobody({"/bin/echo", "$HOME", "a  b", "--help"}).output, "$HOME a  b --help\n");
}

TEST_F(QuillonLaunchctlAsRootTest, CommandThatCannotRunHasTheShellsStatus) {
  EXPECT_EQ(runAsNobody({"/no/such/command"}).status, 127);
  EXPECT_EQ(runAsNobody({"/etc/passwd"}).status, 126);
}

TEST_F(QuillonLaunchctlAsRootTest, WorksForRootItself) {
  const QuillonProcessResult result = runLaunchctl({"asuser", "0", "/usr/bin/id", "-u"});

  EXPECT_EQ(result, (QuillonProcessResult{.status = 0, .output = "0\n"}));
}

TEST_F(QuillonLaunchctlAsRootTest, AnotherUserCannotBecomeRoot) {
  // The command may stand where that user cannot reach it.
  const TemporaryDirectory folder;
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  std::filesystem::copy_file(QUILLON_BINARY_FOLDER "/quillon-launchctl", folder / "quillon-launchctl");

  const QuillonProcessResult result =
      runAsNobody({(folder / "quillon-launchctl").string(), "asuser", "0", "/usr/bin/id"});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("Cannot take the groups of user root"));
  EXPECT_THAT(result.output, Not(HasSubstr("uid=0")));
}

TEST_F(QuillonLaunchctlAsRootTest, UserCanBeItself) {
  const TemporaryDirectory folder;
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  std::filesystem::copy_file(QUILLON_BINARY_FOLDER "/quillon-launchctl", folder / "quillon-launchctl");

  const QuillonProcessResult result =
      runAsNobody({(folder / "quillon-launchctl").string(), "asuser", std::to_string(kNobody), "/usr/bin/id", "-u"});

  EXPECT_EQ(result, (QuillonProcessResult{.status = 0, .output = "65534\n"}));
}

TEST(QuillonLaunchctlTest, RefusesWhoeverIsNoUser) {
  EXPECT_EQ(runLaunchctl({"asuser", "3999999999", "/bin/true"}).status, 1);
  EXPECT_THAT(runLaunchctl({"asuser", "3999999999", "/bin/true"}).output, HasSubstr("There is no user"));
  for (const char* number : {"", "root", "-1", "4294967295", "4294967296", "0x0", " 0"}) {
    EXPECT_EQ(runLaunchctl({"asuser", number, "/bin/true"}).status, 64) << number;
  }
}

TEST(QuillonLaunchctlTest, SearchesNoCommand) {
  EXPECT_EQ(runLaunchctl({"asuser", std::to_string(geteuid()), "true"}).status, 64);
}

TEST(QuillonLaunchctlTest, ExplainsItself) {
  EXPECT_EQ(runLaunchctl({"--help"}).status, 0);
  EXPECT_THAT(runLaunchctl({"--help"}).output, StartsWith("Usage: quillon-launchctl asuser UID COMMAND"));
  EXPECT_THAT(runLaunchctl({"--version"}).output, StartsWith("quillon-launchctl "));
  EXPECT_EQ(runLaunchctl({}).status, 64);
  EXPECT_EQ(runLaunchctl({"bootstrap"}).status, 64);
  EXPECT_EQ(runLaunchctl({"asuser", "0"}).status, 64);
}

}  // namespace
}  // namespace quillon
