#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "Support/TemporaryDirectory.h"
#include "UserSession.h"

namespace quillon {
namespace {

using ::testing::Contains;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;
using namespace std::string_literals;

/// A folder like /proc, with processes of this user.
class UserSessionTest : public ::testing::Test {
 protected:
  void addProcess(const std::string& name, const std::string& environment) {
    testing::writeFile(processes_ / name / "environ", environment);
  }
  [[nodiscard]] std::vector<std::string> environment() const { return sessionEnvironment(account_, processes_.path()); }

  testing::TemporaryDirectory processes_;
  UserAccount account_{.userIdentifier = geteuid(),
                       .groupIdentifier = getegid(),
                       .name = "someone",
                       .homeDirectory = "/home/someone",
                       .shell = "/bin/zsh"};
};

TEST_F(UserSessionTest, AccountComesFromTheUserDatabase) {
  EXPECT_THAT(environment(), IsSupersetOf({"HOME=/home/someone", "USER=someone", "LOGNAME=someone", "SHELL=/bin/zsh",
                                           "PATH=/usr/local/bin:/usr/bin:/bin"}));
}

TEST_F(UserSessionTest, AccountWithoutShellGetsTheStandardOne) {
  account_.shell.clear();

  EXPECT_THAT(environment(), Contains("SHELL=/bin/sh"));
}

TEST_F(UserSessionTest, VariablesComeFromAProcessWithADisplay) {
  addProcess("10", "PATH=/x\0LANG=C\0"s);
  addProcess("11", "DISPLAY=:1\0XAUTHORITY=/a\0PATH=/evil\0LD_PRELOAD=/evil\0LANG=de\0"s);

  EXPECT_THAT(environment(), IsSupersetOf({"DISPLAY=:1", "XAUTHORITY=/a", "LANG=de"}));
  EXPECT_THAT(environment(), Not(Contains("PATH=/evil")));
  EXPECT_THAT(environment(), Not(Contains("LD_PRELOAD=/evil")));
}

TEST_F(UserSessionTest, LocalDisplayBeatsAForwardedOne) {
  addProcess("10", "DISPLAY=localhost:10.0\0"s);
  addProcess("11", "WAYLAND_DISPLAY=wayland-0\0"s);
  addProcess("12", "DISPLAY=localhost:11.0\0"s);

  EXPECT_THAT(environment(), Contains("WAYLAND_DISPLAY=wayland-0"));
  EXPECT_THAT(environment(), Not(Contains(StartsWith("DISPLAY="))));
}

TEST_F(UserSessionTest, OnlyProcessesOfTheUserCount) {
  addProcess("10", "DISPLAY=:1\0"s);
  addProcess("self", "DISPLAY=:2\0"s);
  account_.userIdentifier = geteuid() + 1;

  EXPECT_THAT(environment(), Not(Contains(StartsWith("DISPLAY="))));
}

TEST_F(UserSessionTest, OddEnvironmentsAreHarmless) {
  addProcess("10", "");
  addProcess("11", "\0\0=\0DISPLAY"s);
  addProcess("12", "DISPLAY=:3"s);

  EXPECT_THAT(environment(), Contains("DISPLAY=:3"));
}

}  // namespace
}  // namespace quillon
