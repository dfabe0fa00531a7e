// The whole road of an update that the user may need rights for: an application, its launcher service, polkit with an
// agent, systemd, the installer and the application again, each the real one, in a machine of its own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "Scenarios/MachineScenario.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/HostApplication.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::MachineScenario;
using ::testing::Not;
using testing::readFile;
using ::testing::SizeIs;
using ::testing::StartsWith;
using testing::TestMachine;
using testing::TestMachineCommandResult;
using testing::versionOfApplicationBundle;
using testing::writeFile;

/// Where the application tells who it runs as; whoever reads it waits for it.
constexpr const char* kRelaunched = "/home/alice/relaunched";

/// As many as leave something behind that shows, and take some seconds.
constexpr int kManyLaunches = 100;

std::vector<std::string> linesWith(const std::string& output, const std::string& text) {
  std::vector<std::string> found;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    if (line.find(text) != std::string::npos) found.push_back(line);
  }
  return found;
}

class PrivilegedLaunchScenario : public MachineScenario {
 protected:
  static void SetUpTestSuite() {
    MachineScenario::SetUpTestSuite();
    if (!isBooted()) return;
    versions_ = std::make_unique<testing::TemporaryDirectory>();
    vouchForSignatures();
    makeVersion("1.0", "1");
    makeVersion("2.0", "2");
  }
  static void TearDownTestSuite() {
    versions_.reset();
    MachineScenario::TearDownTestSuite();
  }

  void SetUp() override {
    MachineScenario::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    place(*versions_ / "1.0/Example.app", kRootsApplication, "root");
    place(*versions_ / "1.0/Example.app", kUsersApplication, "alice");
    place(*versions_ / "2.0/Example.app", kStaged, "alice");
    ASSERT_EQ(machine().run({"mkfifo", "--mode=666", kRelaunched}).output, "");
  }

  void TearDown() override {
    if (!isBooted()) return;
    fs::remove(machine().root() / "home/alice/dialogs");
    fs::remove(machine().root() / "home/alice/feed.plist");
    fs::remove(machine().root() / "home/alice/Example.zip");
    fs::remove_all(machine().root() / "home/alice/.config");
    fs::remove_all(machine().root() / "home/alice/.local");
    fs::remove(machine().root() / fs::path(kRelaunched).relative_path());
    removePolicy();
  }

  /// The command whose output ends a launch: what the application says when it runs again.
  static std::string untilRelaunched() { return std::string(" && timeout 30 cat ") + kRelaunched; }

  /// A command that ends when the agent has noted `text`.
  static std::string untilDialogsSay(const std::string& text) {
    return "timeout 20 sh -c 'while ! grep -qs " + text + " /home/alice/dialogs; do :; done'";
  }

  /// Has the host in `bundle` ask to be replaced, in a session of alice whose agent gives `answer`; then runs `after`
  /// in that session. What both print.
  static std::string launch(const std::string& answer, const std::string& bundle, const std::string& after = "",
                            const TestMachine::Session& session = {}) {
    const std::string programs = programsFolder;
    const TestMachineCommandResult result = machine().runInSession(
        session, {programs + "/ScriptedPolkitAgent", answer, TestMachine::administratorPassword, "/home/alice/dialogs",
                  "/bin/sh", "-c", programs + "/UpdateHost " + bundle + " " + kStaged + after});
    return result.output;
  }

  /// Has alice update `bundle` to version 2.0 with the command of this system, as she would in a terminal of her
  /// session; then runs `after` in that session. What both print.
  static std::string update(const std::string& answer, const std::string& bundle, const std::string& after = "",
                            const TestMachine::Session& session = {}) {
    const std::string commands = commandsFolder;
    const TestMachineCommandResult packed =
        machine().run({commands + "/quillon-ditto", "-c", "-k", "/home/alice/Staging", "/home/alice/Example.zip"});
    EXPECT_EQ(packed.status, 0) << packed.output;
    writeFile(machine().root() / "home/alice/feed.plist",
              "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><dict><key>type</key><string>update</string>"
              "<key>id</key><string>2.0</string><key>current</key><string>2.0</string><key>currentbuild</key>"
              "<string>2</string><key>important</key><string>1</string><key>app-installer</key>"
              "<string>file:///home/alice/Example.zip</string></dict></array></plist>");
    const TestMachineCommandResult result = machine().runInSession(
        session, {std::string(programsFolder) + "/ScriptedPolkitAgent", answer, TestMachine::administratorPassword,
                  "/home/alice/dialogs", "/bin/sh", "-c",
                  commands + "/quillon update " + bundle + " --feed file:///home/alice/feed.plist --yes 2>&1" + after});
    return result.output;
  }

  [[nodiscard]] static std::string dialogs() {
    const fs::path record = machine().root() / "home/alice/dialogs";
    return fs::exists(record) ? readFile(record) : std::string();
  }

  [[nodiscard]] static std::string versionAt(const std::string& bundle) {
    return versionOfApplicationBundle(machine().root() / fs::path(bundle).relative_path());
  }

  /// Everything about every file in reach of an update, but its content: that cannot change without its times.
  [[nodiscard]] static std::string files() {
    return machine()
        .run({"/bin/sh", "-c",
              "find /opt/Applications /home/alice/Applications /home/alice/Staging -printf "
              "'%p %i %m %u %g %s %l %T@ %C@\\n' | sort"})
        .output;
  }

  static constexpr const char* kRootsApplication = "/opt/Applications/Example.app";
  static constexpr const char* kUsersApplication = "/home/alice/Applications/Example.app";
  static constexpr const char* kStaged = "/home/alice/Staging/Example.app";

 private:
  static void makeVersion(const std::string& version, const std::string& build) {
    testing::makeHostApplication(
        *versions_ / version / "Example.app",
        {.version = version,
         .build = build,
         .script = "echo \"relaunched " + version + " as $(id --user --name)\" > " + kRelaunched},
        QUILLON_BINARY_FOLDER);
  }

  inline static std::unique_ptr<testing::TemporaryDirectory> versions_;
};

TEST_F(PrivilegedLaunchScenario, TheMachineHasEveryLibraryOfTheBuild) {
  const std::string libraries =
      machine().run({"/bin/sh", "-c", std::string("ldd ") + commandsFolder + "/* " + programsFolder + "/*"}).output;

  EXPECT_THAT(libraries, HasSubstr("libsystemd.so"));
  EXPECT_THAT(libraries, Not(HasSubstr("not found"))) << "tools/make_test_machine has to install more";
}

TEST_F(PrivilegedLaunchScenario, WhatTheUserMayReplaceIsReplacedWithoutADialog) {
  const std::string output = launch("cancel", kUsersApplication, untilRelaunched());

  EXPECT_THAT(output,
              StartsWith("{\"event\":\"handoffStarted\"}\n{\"event\":\"jobSubmitted\"}\n{\"result\":\"launched\"}\n"
                         "{\"descriptors\":0}\n"));
  EXPECT_THAT(output, HasSubstr("relaunched 2.0 as alice\n"));
  EXPECT_THAT(dialogs(), IsEmpty());
  EXPECT_EQ(versionAt(kUsersApplication), "2.0");
  expectNothingIsLeft();
}

TEST_F(PrivilegedLaunchScenario, RootsApplicationIsReplacedWhenTheAdministratorAgrees) {
  const std::string output = launch("yes", kRootsApplication, untilRelaunched());

  EXPECT_EQ(output,
            "{\"event\":\"handoffStarted\"}\n"
            "{\"event\":\"authorizationRequired\",\"destinationParentIsWritable\":false,"
            "\"canPreserveInstalledOwnership\":false}\n"
            "{\"event\":\"authorizationBegan\"}\n"
            "{\"event\":\"authorizationEnded\",\"tookTime\":true}\n"
            "{\"event\":\"jobSubmitted\"}\n"
            "{\"result\":\"launched\"}\n"
            "{\"descriptors\":0}\n"
            "relaunched 2.0 as alice\n");
  EXPECT_EQ(versionAt(kRootsApplication), "2.0");
  EXPECT_EQ(machine().run({"find", kRootsApplication, "!", "-user", "root"}).output, "");
  expectNothingIsLeft();
}

TEST_F(PrivilegedLaunchScenario, AnAdministratorsNoChangesNothing) {
  const std::string before = files();

  const std::string output = launch("no", kRootsApplication);

  EXPECT_THAT(output, HasSubstr("{\"result\":\"authorizationDenied\",\"status\":-60005}\n{\"descriptors\":0}\n"));
  EXPECT_EQ(files(), before);
  EXPECT_THAT(dialogs(), HasSubstr("action="));
  expectNothingIsLeft();
}

TEST_F(PrivilegedLaunchScenario, ACancelledDialogChangesNothing) {
  const std::string before = files();

  const std::string output = launch("cancel", kRootsApplication);

  EXPECT_THAT(output, HasSubstr("{\"result\":\"authorizationCancelled\",\"status\":-60006}\n{\"descriptors\":0}\n"));
  EXPECT_EQ(files(), before);
  EXPECT_THAT(dialogs(), HasSubstr("action="));
  expectNothingIsLeft();
}

TEST_F(PrivilegedLaunchScenario, AHostThatMustNotAskIsRefusedWithoutADialog) {
  const std::string before = files();

  const std::string output = launch("yes", kRootsApplication, " 1");

  EXPECT_THAT(output, HasSubstr("{\"result\":\"authorizationDenied\",\"status\":-60005}\n"));
  EXPECT_EQ(files(), before);
  EXPECT_THAT(dialogs(), IsEmpty());
}

TEST_F(PrivilegedLaunchScenario, ManyLaunchesLeaveNothingBehind) {
  const std::string output = launch("yes", kRootsApplication, " " + std::to_string(kManyLaunches));

  const std::string one =
      "{\"event\":\"handoffStarted\"}\n"
      "{\"event\":\"authorizationRequired\",\"destinationParentIsWritable\":false,"
      "\"canPreserveInstalledOwnership\":false}\n"
      "{\"result\":\"authorizationDenied\",\"status\":-60005}\n";
  std::string all;
  for (int launched = 0; launched < kManyLaunches; ++launched) all += one;
  EXPECT_EQ(output, all + "{\"descriptors\":0}\n");
  expectNothingIsLeft();
}

TEST_F(PrivilegedLaunchScenario, ManyJobsOfOneLabelLeaveNoUnitBehind) {
  const std::string output =
      launch("cancel", kUsersApplication,
             " " + std::to_string(kManyLaunches) + untilRelaunched() + " && " + waitForUnitsOfUser + " && echo gone");

  const std::string one = "{\"event\":\"handoffStarted\"}\n{\"event\":\"jobSubmitted\"}\n{\"result\":\"launched\"}\n";
  std::string all;
  for (int launched = 0; launched < kManyLaunches; ++launched) all += one;
  EXPECT_EQ(output, all + "{\"descriptors\":0}\nrelaunched 2.0 as alice\ngone\n");
  expectNothingIsLeft();
}

TEST_F(PrivilegedLaunchScenario, ACandidateThatWasChangedIsRefusedByTheInstallerAndTheOldOneRunsAgain) {
  writeFile(machine().root() / fs::path(kStaged).relative_path() / "Contents/Resources/version.txt", "2.1");

  const std::string output = launch("yes", kRootsApplication, untilRelaunched());

  EXPECT_THAT(output, AllOf(HasSubstr("{\"result\":\"launched\"}\n"), HasSubstr("relaunched 1.0 as alice\n")));
  EXPECT_EQ(versionAt(kRootsApplication), "1.0");
  expectNothingIsLeft();
  EXPECT_THAT(machine().run({"find", "/home/alice/.local/share", "-type", "f", "-printf", "%u %f\\n"}).output,
              StartsWith("alice "));
}

TEST_F(PrivilegedLaunchScenario, WithoutTheHostsActionFileTheDialogIsAboutUnits) {
  (void)launch("cancel", kRootsApplication);

  EXPECT_THAT(dialogs(), StartsWith("action=org.freedesktop.systemd1.manage-units\n"
                                    "message=Authentication is required to manage system services or other units.\n"));
}

TEST_F(PrivilegedLaunchScenario, WithoutAScreenNobodyIsAskedToStopWhatDoesNotRun) {
  const std::string output = launch("yes", kRootsApplication, untilRelaunched(), {.hasSeat = false});

  EXPECT_THAT(output, HasSubstr("relaunched 2.0 as alice\n"));
  EXPECT_THAT(dialogs(), Not(HasSubstr("to stop")));
}

TEST_F(PrivilegedLaunchScenario, AServiceThatDiesUnderTheDialogIsOneFailureAndTheDialogGoes) {
  const std::string before = files();

  const std::string output = launch("never", kRootsApplication,
                                    " | (" + untilDialogsSay("action=") +
                                        "; kill -KILL $(grep -ls '[Q]uillonUpdateInstallerLauncherService' "
                                        "/proc/[0-9]*/cmdline | cut -d/ -f3); cat; " +
                                        untilDialogsSay("withdrawn=") + ")");

  EXPECT_THAT(output, HasSubstr("{\"event\":\"authorizationBegan\"}\n{\"result\":\"protocolFailure\","
                                "\"diagnostic\":\"phase=xpcConnection"));
  EXPECT_THAT(output, ::testing::EndsWith("\"}\n{\"descriptors\":0}\n"));
  EXPECT_EQ(files(), before);
  expectNothingIsLeft();
}

/// The events of a launch with a dialog, at each of which the service is killed.
class KilledServiceScenario : public PrivilegedLaunchScenario, public ::testing::WithParamInterface<const char*> {};

TEST_P(KilledServiceScenario, TheHostHearsOneResultAndAWholeApplicationIsInstalled) {
  // A file, so that an application which is started again does not wait for a reader.
  ASSERT_EQ(machine().run({"/bin/sh", "-c", std::string("rm ") + kRelaunched}).output, "");
  const std::string killAtEvent = std::string(" | while read -r line; do echo \"$line\"; case \"$line\" in *") +
                                  GetParam() +
                                  "*) kill -KILL $(grep -ls '[Q]uillonUpdateInstallerLauncherService' "
                                  "/proc/[0-9]*/cmdline | cut -d/ -f3);; esac; done";

  const std::string output = launch("yes", kRootsApplication, killAtEvent);

  EXPECT_THAT(linesWith(output, "\"event\":\"" + std::string(GetParam()) + "\""), SizeIs(1)) << output;
  EXPECT_THAT(linesWith(output, "\"result\":"), SizeIs(1)) << output;
  // The service may have gone on before it was killed.
  EXPECT_THAT(linesWith(output, "\"result\":").front(), AnyOf(HasSubstr("protocolFailure"), HasSubstr("launched")));
  expectNothingIsLeft();
  EXPECT_THAT(versionAt(kRootsApplication), AnyOf("1.0", "2.0"));
  const std::string codesign = std::string(commandsFolder) + "/quillon-codesign";
  EXPECT_EQ(machine().run({codesign, "--verify", "--strict", "--deep", kRootsApplication}).output, "");
}

INSTANTIATE_TEST_SUITE_P(Events, KilledServiceScenario,
                         ::testing::Values("handoffStarted", "authorizationRequired", "authorizationBegan",
                                           "authorizationEnded", "jobSubmitted"),
                         [](const auto& event) { return std::string(event.param); });

TEST_F(PrivilegedLaunchScenario, WithTheHostsActionFileTheOnlyDialogIsTheHosts) {
  installPolicyOf(kRootsApplication);

  const std::string output = launch("yes", kRootsApplication, untilRelaunched());

  EXPECT_THAT(output, AllOf(HasSubstr("{\"result\":\"launched\"}\n"), HasSubstr("relaunched 2.0 as alice\n")));
  EXPECT_THAT(dialogs(), StartsWith("action=org.example.App.quillon-update\n"
                                    "message=Example needs permission to update the installed app.\n"));
  EXPECT_THAT(dialogs(), Not(HasSubstr("systemd1")));
  expectNothingIsLeft();
}

TEST_F(PrivilegedLaunchScenario, TheHostsActionFileIsEnoughInASessionWithoutAScreen) {
  installPolicyOf(kRootsApplication);

  const std::string output = launch("yes", kRootsApplication, untilRelaunched(), {.hasSeat = false});

  EXPECT_THAT(output, AllOf(HasSubstr("{\"result\":\"launched\"}\n"), HasSubstr("relaunched 2.0 as alice\n")));
  EXPECT_THAT(dialogs(), Not(HasSubstr("systemd1")));
}

TEST_F(PrivilegedLaunchScenario, AnOlderInstallerUnderAnotherNumberIsStoppedWithoutADialogOfItsOwn) {
  installPolicyOf(kRootsApplication);
  const auto older =
      machine().run({"systemd-run", "--unit=org.example.App.quillon-updater-2", "--collect", "sleep", "600"});
  ASSERT_EQ(older.status, 0) << older.output;

  const std::string output = launch("yes", kRootsApplication, untilRelaunched());

  EXPECT_THAT(output, HasSubstr("relaunched 2.0 as alice\n"));
  EXPECT_THAT(dialogs(), Not(HasSubstr("systemd1")));
  expectNothingIsLeft();
}

TEST_F(PrivilegedLaunchScenario, AUserUpdatesRootsApplicationWithOneCommand) {
  installPolicyOf(kRootsApplication);

  const std::string output = update("yes", kRootsApplication, untilRelaunched());

  EXPECT_THAT(output,
              AllOf(HasSubstr("Verifying update"), HasSubstr("takes over"), HasSubstr("relaunched 2.0 as alice\n")));
  EXPECT_EQ(versionAt(kRootsApplication), "2.0");
  EXPECT_EQ(machine().run({"find", kRootsApplication, "!", "-user", "root"}).output, "");
  EXPECT_THAT(dialogs(), StartsWith("action=org.example.App.quillon-update\n"));
  expectNothingIsLeft();
}

TEST_F(PrivilegedLaunchScenario, WhomTheAdministratorRefusesAnUpdateIsToldSoAndKeepsTheOldOne) {
  installPolicyOf(kRootsApplication);

  const std::string output = update("no", kRootsApplication, "; echo status $?");

  EXPECT_THAT(output,
              AllOf(HasSubstr("An administrator has to allow this update, and none did."), HasSubstr("\nstatus 1\n")));
  EXPECT_EQ(versionAt(kRootsApplication), "1.0");
  expectNothingIsLeft();
}

TEST_F(PrivilegedLaunchScenario, TheDialogSpeaksTheLanguageOfTheSession) {
  installPolicyOf(kRootsApplication);

  (void)launch("cancel", kRootsApplication, "", {.environment = {"LANG=de_DE.UTF-8"}});

  EXPECT_THAT(dialogs(), StartsWith("action=org.example.App.quillon-update\n"
                                    "message=Example darf die App nur mit Erlaubnis ersetzen.\n"));
}

}  // namespace
}  // namespace quillon
