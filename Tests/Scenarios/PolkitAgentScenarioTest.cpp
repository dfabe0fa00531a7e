// What the tests of the privileged launch stand on: a booted machine whose polkit asks an agent that answers as told.
// Each fact about polkit and systemd here is one that the authorization on Linux is built on.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Scenarios/MachineScenario.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::MachineScenario;
using ::testing::Not;
using testing::readFile;
using testing::TestMachine;
using testing::TestMachineCommandResult;

constexpr const char* kManageUnits = "org.freedesktop.systemd1.manage-units";
// Exit statuses of pkcheck(1).
constexpr int kAuthorized = 0;
constexpr int kNotAuthorized = 1;
constexpr int kCanBeObtained = 2;
constexpr int kDismissed = 3;

class PolkitAgentScenario : public MachineScenario {
 protected:
  void TearDown() override {
    if (isBooted()) std::filesystem::remove(record());
  }

  [[nodiscard]] static std::filesystem::path record() { return machine().root() / "home/alice/dialogs"; }
  [[nodiscard]] static std::string dialogs() {
    return std::filesystem::exists(record()) ? readFile(record()) : std::string();
  }

  /// A shell command as alice, whose agent gives `answer`.
  static TestMachineCommandResult runAnswered(const std::string& answer, const std::string& command,
                                              const TestMachine::Session& session = {}) {
    return machine().runInSession(
        session, {std::string(programsFolder) + "/ScriptedPolkitAgent", answer, TestMachine::administratorPassword,
                  "/home/alice/dialogs", "/bin/sh", "-c", command});
  }

  static void installAction(const std::string& name, const std::string& rule) {
    testing::writeFile(machine().root() / ("usr/share/polkit-1/actions/" + name + ".policy"),
                       "<policyconfig><action id=\"" + name +
                           "\"><description>Update</description><message>Please.</message><defaults><allow_any>" +
                           rule + "</allow_any><allow_inactive>" + rule + "</allow_inactive><allow_active>" + rule +
                           "</allow_active></defaults><annotate key=\"org.freedesktop.policykit.imply\">" +
                           kManageUnits + "</annotate></action></policyconfig>");
    restartPolkit();
  }

  /// Asks polkit whether the asking shell may do `action`, with a dialog when that takes one.
  static std::string check(const std::string& action) {
    return "pkcheck --allow-user-interaction --process $$ --action-id " + action;
  }
  /// Obtains `action` for the shell, asks for it again without a dialog, takes it back and asks once more. Says the
  /// statuses. `revokeIn` is a command that runs the one that takes back.
  static std::string checkThenRevoke(const std::string& action, const std::string& revokeIn = "") {
    return "identifier=$(" + check(action) + " | sed -n 's/.*temporary_authorization_id=//p'); " +
           "again='pkcheck --process '$$' --action-id " + action + "'; $again >/dev/null 2>&1; echo kept $?; " +
           revokeIn +
           "busctl call org.freedesktop.PolicyKit1 /org/freedesktop/PolicyKit1/Authority "
           "org.freedesktop.PolicyKit1.Authority RevokeTemporaryAuthorizationById s $identifier; echo revoked $?; " +
           "$again >/dev/null 2>&1; echo left $?";
  }
  /// In place of the shell, so that polkit takes both for one process.
  static std::string startUnit(const std::string& name) {
    return "exec busctl --allow-interactive-authorization=no call org.freedesktop.systemd1 /org/freedesktop/systemd1 "
           "org.freedesktop.systemd1.Manager StartTransientUnit 'ssa(sv)a(sa(sv))' " +
           name + " fail 1 ExecStart 'a(sasb)' 1 /bin/true 1 /bin/true false 0";
  }
};

TEST_F(PolkitAgentScenario, TheOrdinaryUserHasASessionAndNoRights) {
  const auto identity = machine().runInSession({}, {"id", "--groups", "--name"});
  const auto session = machine().runInSession({}, {"loginctl", "show-session", "self", "--property=Seat"});
  const auto start = machine().runInSession({}, {"/bin/sh", "-c", startUnit("quillon-test-0.service")});

  EXPECT_EQ(identity.output, "alice\n");
  EXPECT_EQ(session.output, "Seat=seat0\n");
  EXPECT_NE(start.status, 0);
  EXPECT_THAT(start.output, HasSubstr("Interactive authentication required"));
}

TEST_F(PolkitAgentScenario, ACommandsStatusIsHandedBack) {
  EXPECT_EQ(machine().run({"/bin/sh", "-c", "exit 7"}).status, 7);
  EXPECT_EQ(machine().runInSession({}, {"/bin/sh", "-c", "exit 7"}).status, 7);
  EXPECT_EQ(runAnswered("yes", "exit 7").status, 7);
}

TEST_F(PolkitAgentScenario, WithoutAnAgentNobodyIsAsked) {
  const auto answer = machine().runInSession({}, {"/bin/sh", "-c", check(kManageUnits)});

  EXPECT_EQ(answer.status, kCanBeObtained) << answer.output;
}

TEST_F(PolkitAgentScenario, YesIsAnAuthorization) {
  const auto answer = runAnswered("yes", check(kManageUnits));

  EXPECT_EQ(answer.status, kAuthorized) << answer.output;
  EXPECT_THAT(dialogs(), HasSubstr("action=org.freedesktop.systemd1.manage-units\n"));
  EXPECT_THAT(dialogs(), HasSubstr("message=Authentication is required to manage system services or other units.\n"));
}

TEST_F(PolkitAgentScenario, NoIsADenial) {
  const auto answer = runAnswered("no", check(kManageUnits));

  EXPECT_EQ(answer.status, kNotAuthorized) << answer.output;
  EXPECT_THAT(dialogs(), HasSubstr("action=org.freedesktop.systemd1.manage-units\n"));
}

TEST_F(PolkitAgentScenario, ACancelledDialogIsToldApartFromADenial) {
  const auto answer = runAnswered("cancel", check(kManageUnits));

  EXPECT_EQ(answer.status, kDismissed) << answer.output;
  EXPECT_THAT(dialogs(), HasSubstr("action=org.freedesktop.systemd1.manage-units\n"));
}

TEST_F(PolkitAgentScenario, AnActionThatIsNotInstalledIsNoDialog) {
  const auto answer = runAnswered("yes", check("org.example.App.quillon-update"));

  EXPECT_THAT(answer.output, HasSubstr("is not registered"));
  EXPECT_THAT(dialogs(), IsEmpty());
}

TEST_F(PolkitAgentScenario, InFrontOfAScreenAnAuthorizationIsKeptForTheProcess) {
  const auto start = runAnswered("yes", check(kManageUnits) + " && " + startUnit("quillon-test-1.service"));
  const auto other = machine().runInSession({}, {"/bin/sh", "-c", startUnit("quillon-test-2.service")});

  EXPECT_EQ(start.status, 0) << start.output;
  EXPECT_NE(other.status, 0) << other.output;
}

TEST_F(PolkitAgentScenario, WithoutASeatAnAuthorizationIsUsedUpByTheCheck) {
  const auto start =
      runAnswered("yes", check(kManageUnits) + " && " + startUnit("quillon-test-3.service"), {.hasSeat = false});

  EXPECT_NE(start.status, 0);
  EXPECT_THAT(start.output, HasSubstr("Interactive authentication required"));
}

TEST_F(PolkitAgentScenario, AKeptActionThatImpliesManagingUnitsIsEnoughWithoutASeatToo) {
  installAction("org.example.Implying.quillon-update", "auth_admin_keep");

  const auto start =
      runAnswered("yes", check("org.example.Implying.quillon-update") + " && " + startUnit("quillon-test-4.service"),
                  {.hasSeat = false});

  EXPECT_EQ(start.status, 0) << start.output;
  EXPECT_THAT(dialogs(), HasSubstr("action=org.example.Implying.quillon-update\nmessage=Please.\n"));
  EXPECT_THAT(dialogs(), Not(HasSubstr(kManageUnits)));
}

TEST_F(PolkitAgentScenario, AKeptAuthorizationIsTakenBackByItsIdentifier) {
  installAction("org.example.Revoked.quillon-update", "auth_admin_keep");

  for (const bool hasSeat : {true, false}) {
    const auto answers =
        runAnswered("yes", checkThenRevoke("org.example.Revoked.quillon-update"), {.hasSeat = hasSeat});

    EXPECT_EQ(answers.output, "kept 0\nrevoked 0\nleft 2\n") << "seat: " << hasSeat;
  }
}

TEST_F(PolkitAgentScenario, OutsideOfTheSessionAnAuthorizationIsTakenBackOnlyWhileOneIsInFrontOfAScreen) {
  installAction("org.example.Revoked.quillon-update", "auth_admin_keep");
  const std::string command =
      checkThenRevoke("org.example.Revoked.quillon-update", "systemd-run --user --pipe --wait --quiet ");

  EXPECT_EQ(runAnswered("yes", command).output, "kept 0\nrevoked 0\nleft 2\n");
  EXPECT_EQ(runAnswered("yes", command, {.hasSeat = false}).output,
            "kept 0\nCall failed: Cannot determine session the caller is in\nrevoked 1\nleft 0\n");
}

TEST_F(PolkitAgentScenario, OutsideOfTheSessionNobodyIsAskedWhileNoneIsInFrontOfAScreen) {
  // systemd-run replaces "$$" in arguments by "$".
  const auto answer = runAnswered("yes",
                                  "systemd-run --user --pipe --wait --quiet sh -c 'pkcheck --allow-user-interaction "
                                  "--process $$$$ --action-id " +
                                      std::string(kManageUnits) + "'",
                                  {.hasSeat = false});

  EXPECT_EQ(answer.status, kCanBeObtained) << answer.output;
  EXPECT_THAT(dialogs(), IsEmpty());
}

TEST_F(PolkitAgentScenario, AnActionThatIsNotKeptImpliesNothing) {
  installAction("org.example.OneShot.quillon-update", "auth_admin");

  const auto start =
      runAnswered("yes", check("org.example.OneShot.quillon-update") + " && " + startUnit("quillon-test-5.service"));

  EXPECT_NE(start.status, 0);
  EXPECT_THAT(start.output, HasSubstr("Interactive authentication required"));
}

TEST_F(PolkitAgentScenario, StoppingAUnitAsksEvenWhenTheCallerWantsNoDialog) {
  const auto stop = runAnswered("cancel",
                                "exec busctl --allow-interactive-authorization=no call org.freedesktop.systemd1 "
                                "/org/freedesktop/systemd1 org.freedesktop.systemd1.Manager StopUnit ss "
                                "quillon-missing.service replace");

  EXPECT_NE(stop.status, 0);
  EXPECT_THAT(dialogs(), HasSubstr("message=Authentication is required to stop 'quillon-missing.service'.\n"));
}

TEST_F(PolkitAgentScenario, WhatIsWrittenInAMachineIsGoneInTheNext) {
  ASSERT_EQ(machine().run({"touch", "/etc/quillon-was-here"}).status, 0);

  const TestMachine other;

  EXPECT_FALSE(std::filesystem::exists(other.root() / "etc/quillon-was-here"));
  EXPECT_TRUE(std::filesystem::exists(machine().root() / "etc/quillon-was-here"));
}

}  // namespace
}  // namespace quillon
