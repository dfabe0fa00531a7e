#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnectionFactory.h"
#include "Support/BlockingQueue.h"
#include "Support/ReportFifo.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

constexpr const char* kServiceName = "org.example.App.Quillon.UpdateInstallerLauncherService";

class VeskAppBundleBusInstallerLauncherServiceConnectionFactoryTest : public ::testing::Test {
 protected:
  void installProgram(const std::filesystem::path& program) const {
    std::filesystem::create_directories(servicePath().parent_path());
    std::filesystem::copy_file(program, servicePath());
  }

  [[nodiscard]] std::filesystem::path servicePath() const {
    return folder_ / "Example.app/Contents/XPCServices" / (std::string(kServiceName) + ".xpc") /
           "Contents/MacOS/QuillonUpdateInstallerLauncherService";
  }

  void installService(const std::string& script) const {
    std::filesystem::create_directories(servicePath().parent_path());
    testing::writeScript(servicePath(), script);
  }

  std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> make(const std::string& name = kServiceName) {
    return factory_.make(
        name, [this](const QuillonSystemError& error) { errors_.push(error.description()); },
        [](const VeskAppBundleInstallerLaunchProgress& /*progress*/) {});
  }

  testing::TemporaryDirectory folder_;
  testing::ReportFifo report_{folder_ / "report"};
  testing::BlockingQueue<std::string> errors_;
  VeskAppBundleBusInstallerLauncherServiceConnectionFactory factory_{
      QuillonURL::fileURL((folder_ / "Example.app").string())};
};

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionFactoryTest, TheServiceGetsTheSocketAndNothingElse) {
  // Inheritable, and so is what a program of root's must not get.
  const FileDescriptor inheritable(fcntl(STDERR_FILENO, F_DUPFD, 57));
  setenv("QUILLON_TEST_VARIABLE", "its value", 1);
  installProgram(std::filesystem::path(QUILLON_TEST_PROGRAM_FOLDER) / "StartConditionsReporter");

  const auto connection = make();
  ASSERT_TRUE(connection);
  const std::string output = report_.read();

  unsetenv("QUILLON_TEST_VARIABLE");
  EXPECT_THAT(output, ::testing::MatchesRegex("0 /dev/null\n1 /dev/null\n2 /dev/null\n3 socket:.[0-9]+.\n[A-Z][^$]*"));
  if (geteuid() == 0) {
    EXPECT_THAT(output, ::testing::EndsWith("]\nPATH=/usr/bin:/bin\nLANG=C.UTF-8\n"));
  } else {
    EXPECT_THAT(output, ::testing::HasSubstr("\nQUILLON_TEST_VARIABLE=its value\n"));
  }
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionFactoryTest, TheServiceIsNoChildAndHasItsOwnSession) {
  // Fields 4 and 6 of proc(5)'s stat: parent and session.
  installService("read -r pid name state parent group session rest < /proc/$$/stat; echo $parent $session > " +
                 report_.path().string());

  const auto connection = make();

  std::istringstream fields(report_.read());
  pid_t parent = 0;
  pid_t session = 0;
  fields >> parent >> session;
  EXPECT_NE(parent, getpid());
  EXPECT_NE(session, getsid(0));
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD) << "no zombie is left";
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionFactoryTest, AServiceThatEndsAtOnceIsAnError) {
  installService("exit 0");

  const auto connection = make();
  ASSERT_TRUE(connection);
  connection->resume();

  EXPECT_EQ(errors_.pop(), "The installer launcher XPC connection was invalidated.");
  EXPECT_TRUE(connection->launchReplacement(
      {}, [] {}, [](const auto& /*result*/) {}));
  EXPECT_TRUE(errors_.isEmpty());
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionFactoryTest, TheServiceHearsTheEndOfTheConnection) {
  installService("while read -r line <&3; do :; done; echo over > " + report_.path().string());

  auto connection = make();
  connection->resume();
  connection->invalidate();

  EXPECT_EQ(report_.read(), "over\n");
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionFactoryTest, AServiceThatDoesNotExistGivesNoConnection) {
  EXPECT_FALSE(make());
  installService("exit 0");
  EXPECT_FALSE(make("org.example.Other"));
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionFactoryTest, AServiceThatCannotBeExecutedGivesNoConnection) {
  installService("exit 0");
  std::filesystem::permissions(servicePath(), std::filesystem::perms::owner_read);

  EXPECT_FALSE(make());

  std::filesystem::remove(servicePath());
  std::filesystem::create_directory(servicePath());
  EXPECT_FALSE(make());
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionFactoryTest, ANameThatIsNoSingleComponentGivesNoConnection) {
  installService("exit 0");
  const std::string name = kServiceName;

  EXPECT_TRUE(make());
  EXPECT_FALSE(make("../XPCServices/" + name));
  EXPECT_FALSE(make("/" + name));
  EXPECT_FALSE(make(name + std::string("\0", 1)));
  EXPECT_FALSE(make(""));
  EXPECT_FALSE(make("."));
  EXPECT_FALSE(make(".."));
}

}  // namespace
}  // namespace quillon
