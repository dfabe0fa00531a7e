#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"
#include "Support/TestMachine.h"
#include "Support/TestMachineUnits.h"

namespace quillon::testing {

/// A test suite with one TestMachine, booted before its first test.
///
/// Where no machine can be booted the tests are skipped, with the reason; in CI they fail, so that they never stop to
/// run without anybody noticing.
class MachineScenario : public ::testing::Test {
 protected:
  /// Where the commands and the test programs of this build are in the machine. The commands are where they would be
  /// installed, so that a privileged one finds the others.
  static constexpr const char* commandsFolder = QUILLON_TOOL_FOLDER;
  static constexpr const char* programsFolder = "/opt/quillon/programs";

  static void SetUpTestSuite() { boot({}); }
  /// Boots the machine, which sees `more` folders than those of the build.
  static void boot(std::vector<TestMachine::Folder> more) {
    more.push_back({QUILLON_BINARY_FOLDER, commandsFolder});
    more.push_back({QUILLON_TEST_PROGRAM_FOLDER, programsFolder});
    try {
      machine_ = std::make_unique<TestMachine>(more);
    } catch (const TestMachineUnavailable& reason) {
      whyUnavailable_ = reason.what();
    }
  }
  static void TearDownTestSuite() { machine_.reset(); }

  void SetUp() override {
    if (machine_ != nullptr) return;
    if (std::getenv("CI") != nullptr) FAIL() << "CI has to boot a test machine: " << whyUnavailable_;
    GTEST_SKIP() << whyUnavailable_;
  }

  [[nodiscard]] static bool isBooted() { return machine_ != nullptr; }
  [[nodiscard]] static TestMachine& machine() { return *machine_; }

  /// Has polkit read its files again. It would notice by itself, but nobody could tell when.
  static void restartPolkit() {
    // A service that is started too often is refused, unless that is forgotten; there is nothing to forget of one that
    // was not started at all.
    (void)machine().run({"systemctl", "reset-failed", "polkit.service"});
    const TestMachineCommandResult result = machine().run({"systemctl", "restart", "polkit.service"});
    ASSERT_EQ(result.status, 0) << result.output;
  }

  /// Has the machine take the team of the tests' signatures for one that is vouched for.
  static void vouchForSignatures() {
    writeFile(
        machine().root() / std::filesystem::path(QUILLON_SYSCONFDIR).relative_path() / "quillon/anchors.d/example.pem",
        sharedSigningIdentity().root);
  }

  /// Puts a bundle of this machine at a place in the test machine, with everything that is on its way there, and no
  /// other file.
  static void place(const std::filesystem::path& made, const std::string& bundle, const std::string& owner) {
    const std::string folder = std::filesystem::path(bundle).parent_path();
    const std::filesystem::path place = machine().root() / std::filesystem::path(folder).relative_path();
    std::filesystem::remove_all(place);
    std::filesystem::create_directories(place);
    const QuillonProcessResult copy = QuillonPosixProcessRunner().run("/bin/cp", {"-a", made.string(), place.string()});
    ASSERT_EQ(copy.status, 0) << copy.output;
    ASSERT_EQ(machine().run({"chown", "-hR", owner + ":" + owner, folder}).output, "");
  }

  /// Installs the action file that the host at `bundle` would have in its package.
  static void installPolicyOf(const std::string& bundle) {
    const TestMachineCommandResult policy = machine().run({std::string(commandsFolder) + "/quillon", "policy", bundle});
    ASSERT_EQ(policy.status, 0) << policy.output;
    writeFile(policyFile(), policy.output);
    restartPolkit();
  }
  static void removePolicy() {
    if (std::filesystem::remove(policyFile())) restartPolkit();
  }

  static constexpr const char* installerUnit = "org.example.App.quillon-updater.service";
  static constexpr const char* relaunchUnit = "org.example.App.quillon-relaunch.service";

  /// Waits until no unit of the application is loaded by the machine's own manager, and no launcher service or
  /// installer runs.
  static void expectNothingIsLeft() {
    waitUntilUnitIsGone(machine(), installerUnit);
    waitUntilUnitIsGone(machine(), relaunchUnit);
    EXPECT_THAT(loadedUnits(machine(), "org.example.*"), ::testing::IsEmpty());
    EXPECT_EQ(machine().run({"/bin/sh", "-c", kWaitForProcesses}).status, 0);
  }

  /// A command that ends when the manager of the session's user has no unit of the application loaded; fails when one
  /// stays.
  static constexpr const char* waitForUnitsOfUser =
      "timeout 20 sh -c 'until units=$(systemctl --user list-units --all --plain --no-legend \"org.example.*\") && "
      "[ -z \"$units\" ]; do :; done'";

 private:
  static constexpr const char* kWaitForProcesses =
      "for process in $(grep -ls '[Q]uillonUpdateInst' /proc/[0-9]*/cmdline | cut -d/ -f3); do "
      "timeout 20 tail --sleep-interval=0.01 --pid=$process --follow /dev/null || exit 1; done";

  static std::filesystem::path policyFile() {
    return machine().root() / "usr/share/polkit-1/actions/org.example.App.policy";
  }

  inline static std::unique_ptr<TestMachine> machine_;
  inline static std::string whyUnavailable_;
};

}  // namespace quillon::testing
