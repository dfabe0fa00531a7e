#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundlePolkitAuthorizationClient.h"
#include "Support/FakePolkitAuthority.h"
#include "Support/PrivateBus.h"

namespace quillon {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::FakePolkitAuthority;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using testing::PrivateBus;
using ::testing::StartsWith;
using Answer = FakePolkitAuthority::Answer;

constexpr std::uint32_t kWithDialog = 3;
constexpr std::uint32_t kWithoutDialog = 2;
constexpr std::string_view kManagementRight = "com.apple.ServiceManagement.daemons.modify";
constexpr const char* kManagementAction = "org.freedesktop.systemd1.manage-units";
constexpr const char* kCustomRight = "org.example.App.quillon-update";

/// For what never answers. Too short for anything that does, on a machine that is busy with other things.
constexpr std::chrono::milliseconds kShortLimit{100};

class VeskAppBundlePolkitAuthorizationClientTest : public ::testing::Test {
 protected:
  void havePolkit(FakePolkitAuthority::Behaviour behaviour) {
    polkit_ = std::make_unique<FakePolkitAuthority>(bus_.address(), std::move(behaviour));
  }
  void havePolkit(Answer managementAnswer) { havePolkit({.actions = {{kManagementAction, managementAnswer}}}); }

  std::int32_t copy(std::string_view rightName, std::uint32_t flags) {
    return client_.copyRight(ref(), rightName, flags);
  }
  VeskAppBundleAuthorizationRef ref() const { return authorization_.authorizationRef; }

  PrivateBus bus_;
  std::unique_ptr<FakePolkitAuthority> polkit_;
  std::vector<std::string> log_;
  VeskAppBundlePolkitAuthorizationClient client_{bus_.address(), std::chrono::seconds(20),
                                                 [this](std::string_view line) { log_.emplace_back(line); }};
  VeskAppBundleSecurityAuthorizationClient::Creation authorization_ = client_.createAuthorization();
};

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, TheManagementRightIsSystemdsAction) {
  havePolkit(Answer::kept);

  EXPECT_EQ(copy(kManagementRight, kWithDialog), 0);

  EXPECT_THAT(polkit_->calls(), ElementsAre("CheckAuthorization org.freedesktop.systemd1.manage-units 1",
                                            "CheckAuthorization org.freedesktop.systemd1.manage-units 0"));
  EXPECT_EQ(ref()->serviceManagementGrant, VeskAppBundleRightGrant::kept);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, WithoutInteractionPolkitIsToldToAskNobody) {
  havePolkit(Answer::confirmed);

  EXPECT_EQ(copy(kManagementRight, kWithoutDialog), -60005);

  EXPECT_THAT(polkit_->calls(), ElementsAre("CheckAuthorization org.freedesktop.systemd1.manage-units 0"));
  EXPECT_EQ(ref()->serviceManagementGrant, VeskAppBundleRightGrant::none);
  EXPECT_THAT(log_, IsEmpty());
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, ARightThatTakesNoDialogIsGrantedWithoutInteraction) {
  havePolkit(Answer::granted);

  EXPECT_EQ(copy(kManagementRight, kWithoutDialog), 0);

  EXPECT_EQ(ref()->serviceManagementGrant, VeskAppBundleRightGrant::kept);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AnAnswerThatPolkitDoesNotKeepIsToldApart) {
  havePolkit(Answer::confirmed);

  EXPECT_EQ(copy(kManagementRight, kWithDialog), 0);

  EXPECT_EQ(ref()->serviceManagementGrant, VeskAppBundleRightGrant::once);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, ADismissedDialogIsACancellation) {
  havePolkit(Answer::dismissed);

  EXPECT_EQ(copy(kManagementRight, kWithDialog), -60006);

  EXPECT_EQ(ref()->serviceManagementGrant, VeskAppBundleRightGrant::none);
  EXPECT_THAT(log_, IsEmpty());
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, PolkitsCancelledErrorIsACancellation) {
  havePolkit({.actions = {{kManagementAction, Answer::kept}},
              .checkError =
                  FakePolkitAuthority::Error{"org.freedesktop.PolicyKit1.Error.Cancelled", "Operation was cancelled"}});

  EXPECT_EQ(copy(kManagementRight, kWithDialog), -60006);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AWrongPasswordIsADenial) {
  havePolkit(Answer::refused);

  EXPECT_EQ(copy(kManagementRight, kWithDialog), -60005);

  EXPECT_EQ(ref()->serviceManagementGrant, VeskAppBundleRightGrant::none);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, ASessionWithoutAgentIsADenialThatIsLogged) {
  havePolkit(Answer::noAgent);

  EXPECT_EQ(copy(kManagementRight, kWithDialog), -60005);

  EXPECT_THAT(log_, ElementsAre("VeskAppBundlePolkitAuthorizationClient: No authentication agent can ask the user; "
                                "right=org.freedesktop.systemd1.manage-units error=<empty>"));
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AMachineWithoutPolkitIsADenialThatIsLogged) {
  EXPECT_EQ(copy(kManagementRight, kWithDialog), -60005);
  EXPECT_EQ(copy(kCustomRight, kWithDialog), -60005);

  ASSERT_EQ(log_.size(), 2U);
  EXPECT_THAT(log_[0], StartsWith("VeskAppBundlePolkitAuthorizationClient: Cannot ask polkit; "
                                  "right=com.apple.ServiceManagement.daemons.modify "
                                  "error=org.freedesktop.DBus.Error.ServiceUnknown"));
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AMachineWithoutBusIsADenialThatIsLogged) {
  VeskAppBundlePolkitAuthorizationClient client("unix:path=/no/such/bus", std::chrono::seconds(20),
                                                [this](std::string_view line) { log_.emplace_back(line); });
  const auto creation = client.createAuthorization();

  EXPECT_EQ(creation.status, 0) << "a launch that needs no right needs no bus";
  EXPECT_EQ(client.setRight(creation.authorizationRef, kCustomRight, "authenticate-admin", "Prompt."), 0);
  EXPECT_EQ(client.copyRight(creation.authorizationRef, kManagementRight, kWithDialog), -60005);
  client.freeAuthorization(creation.authorizationRef);

  EXPECT_EQ(log_.size(), 1U);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AnErrorOfPolkitIsADenialThatIsLogged) {
  havePolkit({.actions = {{kManagementAction, Answer::kept}},
              .checkError = FakePolkitAuthority::Error{"org.freedesktop.PolicyKit1.Error.Failed", "Something\nodd"}});

  EXPECT_EQ(copy(kManagementRight, kWithDialog), -60005);

  EXPECT_EQ(log_.size(), 1U);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, APolkitThatDoesNotAnswerRunsIntoTheTimeLimitWhenNobodyIsAsked) {
  havePolkit(Answer::silence);
  VeskAppBundlePolkitAuthorizationClient client(bus_.address(), kShortLimit,
                                                [this](std::string_view line) { log_.emplace_back(line); });
  const auto authorization = client.createAuthorization().authorizationRef;

  EXPECT_EQ(client.copyRight(authorization, kManagementRight, kWithoutDialog), -60005);

  EXPECT_EQ(log_.size(), 1U);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, ACustomRightIsTheActionOfItsName) {
  havePolkit({.actions = {{kManagementAction, Answer::kept}, {kCustomRight, Answer::dismissed}}});

  EXPECT_EQ(copy(kCustomRight, kWithDialog), -60006);

  EXPECT_THAT(polkit_->calls(), ElementsAre("CheckAuthorization org.example.App.quillon-update 1"));
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, ACustomRightWithoutActionFileAddsNothing) {
  havePolkit(Answer::kept);

  EXPECT_EQ(copy(kCustomRight, kWithDialog), 0);

  EXPECT_THAT(polkit_->calls(), IsEmpty());
  EXPECT_EQ(ref()->serviceManagementGrant, VeskAppBundleRightGrant::none)
      << "a custom right is not the right to submit";
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, ACustomRightThatIsKeptAndImpliesTheOtherTakesOneDialog) {
  havePolkit({.actions = {{kManagementAction, Answer::refused}, {kCustomRight, Answer::kept}},
              .implied = {{kCustomRight, kManagementAction}}});

  EXPECT_EQ(copy(kCustomRight, kWithDialog), 0);
  EXPECT_EQ(copy(kManagementRight, kWithDialog), 0);

  EXPECT_EQ(ref()->serviceManagementGrant, VeskAppBundleRightGrant::kept);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, KeptAnswersAreTakenBackWithTheAuthorization) {
  havePolkit({.actions = {{kManagementAction, Answer::refused}, {kCustomRight, Answer::kept}},
              .implied = {{kCustomRight, kManagementAction}}});
  (void)copy(kCustomRight, kWithDialog);
  (void)copy(kManagementRight, kWithDialog);

  client_.freeAuthorization(ref());

  EXPECT_EQ(polkit_->calls().back(), "RevokeTemporaryAuthorizationById kept-org.example.App.quillon-update");
  const auto next = client_.createAuthorization();
  EXPECT_EQ(client_.copyRight(next.authorizationRef, kManagementRight, kWithoutDialog), -60005);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AnAuthorizationThatNothingIsKeptForAsksNothingWhenItGoes) {
  havePolkit(Answer::confirmed);
  (void)copy(kManagementRight, kWithDialog);
  const auto calls = polkit_->calls();

  client_.freeAuthorization(ref());

  EXPECT_EQ(polkit_->calls(), calls);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AnAnswerThatCannotBeTakenBackIsLogged) {
  havePolkit({.actions = {{kManagementAction, Answer::kept}}, .canRevoke = false});
  (void)copy(kManagementRight, kWithDialog);

  client_.freeAuthorization(ref());

  EXPECT_EQ(log_.size(), 1U);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AllAnswersAreTakenBackOverOneConnection) {
  havePolkit({.actions = {{kManagementAction, Answer::kept}, {kCustomRight, Answer::kept}}});
  (void)copy(kCustomRight, kWithDialog);
  (void)copy(kManagementRight, kWithDialog);

  client_.freeAuthorization(ref());

  EXPECT_THAT(polkit_->calls(),
              IsSupersetOf({"RevokeTemporaryAuthorizationById kept-org.example.App.quillon-update",
                            "RevokeTemporaryAuthorizationById kept-org.freedesktop.systemd1.manage-units"}));
  EXPECT_EQ(polkit_->revokingPeers().size(), 1U);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AnAnswerThatIsNotTakenBackKeepsNoOtherFromBeingTakenBack) {
  havePolkit({.actions = {{kManagementAction, Answer::kept}, {kCustomRight, Answer::kept}}, .canRevoke = false});
  (void)copy(kCustomRight, kWithDialog);
  (void)copy(kManagementRight, kWithDialog);

  client_.freeAuthorization(ref());

  EXPECT_THAT(polkit_->calls(),
              IsSupersetOf({"RevokeTemporaryAuthorizationById kept-org.example.App.quillon-update",
                            "RevokeTemporaryAuthorizationById kept-org.freedesktop.systemd1.manage-units"}));
  EXPECT_EQ(log_.size(), 2U);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, APolkitThatIsSilentAboutARevocationIsNotWaitedForTwice) {
  havePolkit(
      {.actions = {{kManagementAction, Answer::kept}, {kCustomRight, Answer::kept}}, .answersRevocation = false});
  VeskAppBundlePolkitAuthorizationClient client(
      bus_.address(), std::chrono::seconds(20), [this](std::string_view line) { log_.emplace_back(line); },
      kShortLimit);
  const auto authorization = client.createAuthorization().authorizationRef;
  ASSERT_EQ(client.copyRight(authorization, kCustomRight, kWithDialog), 0);
  ASSERT_EQ(client.copyRight(authorization, kManagementRight, kWithDialog), 0);

  client.freeAuthorization(authorization);

  // A machine that is busy may not have let polkit see the first one yet.
  EXPECT_LE(std::ranges::count_if(polkit_->calls(), [](const auto& call) { return call.starts_with("Revoke"); }), 1);
  EXPECT_EQ(log_.size(), 2U) << "both answers are kept";
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, WhatOneAuthorizationWasGrantedServesNoOther) {
  havePolkit({.actions = {{kManagementAction, Answer::refused}, {kCustomRight, Answer::kept}},
              .implied = {{kCustomRight, kManagementAction}}});
  const auto other = client_.createAuthorization().authorizationRef;
  ASSERT_EQ(copy(kCustomRight, kWithDialog), 0);
  ASSERT_EQ(copy(kManagementRight, kWithDialog), 0);
  const auto calls = polkit_->calls();

  EXPECT_EQ(client_.copyRight(other, kCustomRight, kWithDialog), -60005);
  EXPECT_EQ(client_.copyRight(other, kManagementRight, kWithoutDialog), -60005);

  EXPECT_EQ(other->serviceManagementGrant, VeskAppBundleRightGrant::none);
  EXPECT_EQ(polkit_->calls(), calls);
  EXPECT_THAT(log_, ElementsAre("VeskAppBundlePolkitAuthorizationClient: Another launch asks for rights or holds some; "
                                "right=org.example.App.quillon-update error=<empty>",
                                "VeskAppBundlePolkitAuthorizationClient: Another launch asks for rights or holds some; "
                                "right=com.apple.ServiceManagement.daemons.modify error=<empty>"));
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, FreeingAnAuthorizationThatWasDeniedTakesNothingFromTheOther) {
  havePolkit(Answer::kept);
  const auto other = client_.createAuthorization().authorizationRef;
  ASSERT_EQ(copy(kManagementRight, kWithDialog), 0);
  ASSERT_EQ(client_.copyRight(other, kManagementRight, kWithDialog), -60005);

  client_.freeAuthorization(other);

  EXPECT_THAT(polkit_->calls(), Not(Contains(StartsWith("Revoke"))));
  EXPECT_EQ(copy(kManagementRight, kWithoutDialog), 0);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, TheNextAuthorizationIsAskedForOnceTheGrantedOneIsFreed) {
  havePolkit(Answer::kept);
  const auto other = client_.createAuthorization().authorizationRef;
  ASSERT_EQ(copy(kManagementRight, kWithDialog), 0);
  ASSERT_EQ(client_.copyRight(other, kManagementRight, kWithDialog), -60005);
  client_.freeAuthorization(ref());

  EXPECT_EQ(client_.copyRight(other, kManagementRight, kWithoutDialog), -60005);
  EXPECT_EQ(client_.copyRight(other, kManagementRight, kWithDialog), 0);

  EXPECT_EQ(other->serviceManagementGrant, VeskAppBundleRightGrant::kept);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AnAuthorizationThatWasGrantedNothingIsInNobodysWay) {
  havePolkit({.actions = {{kManagementAction, Answer::kept}, {kCustomRight, Answer::dismissed}}});
  const auto other = client_.createAuthorization().authorizationRef;
  ASSERT_EQ(copy(kCustomRight, kWithDialog), -60006);

  EXPECT_EQ(client_.copyRight(other, kManagementRight, kWithDialog), 0);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, WhileOneAuthorizationIsAskedForAnotherIsDenied) {
  havePolkit({.actions = {{kManagementAction, Answer::held}}});
  const auto other = client_.createAuthorization().authorizationRef;
  std::int32_t status = 1;
  std::jthread asking([&] { status = copy(kManagementRight, kWithDialog); });
  polkit_->waitUntilHeld();

  EXPECT_EQ(client_.copyRight(other, kManagementRight, kWithDialog), -60005);

  polkit_->release();
  asking.join();
  EXPECT_EQ(status, 0);
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AnAnswerThatWasNotTakenBackCountsForNobodyElse) {
  havePolkit({.actions = {{kManagementAction, Answer::refused}, {kCustomRight, Answer::kept}},
              .implied = {{kCustomRight, kManagementAction}},
              .canRevoke = false});
  ASSERT_EQ(copy(kCustomRight, kWithDialog), 0);
  client_.freeAuthorization(ref());
  log_.clear();
  const auto next = client_.createAuthorization().authorizationRef;

  EXPECT_EQ(client_.copyRight(next, kCustomRight, kWithDialog), -60005);
  EXPECT_EQ(client_.copyRight(next, kManagementRight, kWithDialog), -60005);

  EXPECT_EQ(next->serviceManagementGrant, VeskAppBundleRightGrant::none);
  EXPECT_THAT(log_,
              ElementsAre("VeskAppBundlePolkitAuthorizationClient: polkit answers with what an earlier launch was "
                          "granted; right=org.example.App.quillon-update error=<empty>",
                          "VeskAppBundlePolkitAuthorizationClient: polkit answers with what an earlier launch was "
                          "granted; right=org.freedesktop.systemd1.manage-units error=<empty>"));
}

TEST_F(VeskAppBundlePolkitAuthorizationClientTest, AFreedReferenceIsInvalid) {
  havePolkit(Answer::granted);
  const auto freed = ref();
  client_.freeAuthorization(freed);

  EXPECT_EQ(client_.copyRight(freed, kManagementRight, kWithDialog), -60002);
  EXPECT_EQ(client_.setRight(freed, kCustomRight, "authenticate-admin", "Prompt."), -60002);
  client_.freeAuthorization(freed);
  EXPECT_THAT(polkit_->calls(), IsEmpty());
}

}  // namespace
}  // namespace quillon
