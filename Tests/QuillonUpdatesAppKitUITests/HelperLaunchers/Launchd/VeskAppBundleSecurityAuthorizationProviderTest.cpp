#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationProvider.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Answers every call with the status set for it and writes down what it was asked.
class FakeSecurityAuthorizationClient final : public VeskAppBundleSecurityAuthorizationClient {
 public:
  Creation createAuthorization() noexcept override {
    calls.emplace_back("create");
    return {.status = createStatus, .authorizationRef = createStatus == 0 ? ref() : nullptr};
  }
  std::int32_t setRight(VeskAppBundleAuthorizationRef authorizationRef, std::string_view rightName,
                        std::string_view rule, std::string_view description) noexcept override {
    record(authorizationRef,
           "set " + std::string(rightName) + " " + std::string(rule) + " " + std::string(description));
    return setStatus;
  }
  std::int32_t copyRight(VeskAppBundleAuthorizationRef authorizationRef, std::string_view rightName,
                         std::uint32_t flags) noexcept override {
    record(authorizationRef, "copy " + std::string(rightName) + " " + std::to_string(flags));
    return rightName == failingRight ? copyStatus : 0;
  }
  void freeAuthorization(VeskAppBundleAuthorizationRef authorizationRef) noexcept override {
    record(authorizationRef, "free");
  }

  VeskAppBundleAuthorizationRef ref() const { return reinterpret_cast<VeskAppBundleAuthorizationRef>(this); }

  std::vector<std::string> calls;
  std::int32_t createStatus = 0;
  std::int32_t setStatus = 0;
  std::string failingRight;
  std::int32_t copyStatus = 0;

 private:
  void record(VeskAppBundleAuthorizationRef authorizationRef, std::string call) {
    EXPECT_EQ(authorizationRef, ref());
    calls.push_back(std::move(call));
  }
};

class VeskAppBundleSecurityAuthorizationProviderTest : public ::testing::Test {
 protected:
  /// The error of `action`, if it throws one.
  static std::optional<VeskUpdateInstallerError> errorOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const VeskUpdateInstallerError& error) {
      return error;
    }
    return std::nullopt;
  }

  std::optional<VeskUpdateInstallerError> requestAdministratorRights(
      const VeskAppBundleLaunchdAuthorization& authorization) {
    return errorOf([&] {
      provider_.requestAdministratorRights(
          authorization, "custom", "management", "Prompt.", [this] { client_->calls.emplace_back("will begin"); },
          [this] { client_->calls.emplace_back("did end"); });
    });
  }

  static VeskUpdateInstallerError denied(std::int32_t status) {
    return VeskUpdateInstallerError::authorizationDenied({.status = status, .message = {}});
  }
  static VeskUpdateInstallerError cancelled(std::int32_t status) {
    return VeskUpdateInstallerError::authorizationCancelled({.status = status, .message = {}});
  }

  std::shared_ptr<FakeSecurityAuthorizationClient> client_ = std::make_shared<FakeSecurityAuthorizationClient>();
  VeskAppBundleSecurityAuthorizationProvider provider_{client_};
  VeskAppBundleLaunchdAuthorization authorization_{client_->ref(), nullptr};
  VeskAppBundleLaunchdAuthorization withoutReference_{nullptr, nullptr};
};

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, MadeAuthorizationIsFreedWithItsOwner) {
  {
    const auto authorization = provider_.makeAuthorization();
    EXPECT_EQ(authorization->authorizationRef(), client_->ref());
    EXPECT_THAT(client_->calls, ElementsAre("create"));
  }
  EXPECT_THAT(client_->calls, ElementsAre("create", "free"));
}

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, FailureToMakeAnAuthorizationHasTheSystemsStatus) {
  client_->createStatus = -60008;

  EXPECT_EQ(errorOf([&] { (void)provider_.makeAuthorization(); }), denied(-60008));
  EXPECT_THAT(client_->calls, ElementsAre("create"));
}

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, CancellationIsToldApartFromDenial) {
  client_->createStatus = -60006;

  EXPECT_EQ(errorOf([&] { (void)provider_.makeAuthorization(); }), cancelled(-60006));
}

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, AdministratorRightsAreRegisteredThenCopiedWithInteraction) {
  EXPECT_EQ(requestAdministratorRights(authorization_), std::nullopt);

  EXPECT_THAT(client_->calls, ElementsAre("will begin", "set custom authenticate-admin Prompt.", "copy custom 3",
                                          "copy management 3", "did end"));
}

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, RefusedRegistrationEndsTheInteractionAndAsksNothingMore) {
  client_->setStatus = -60007;

  EXPECT_EQ(requestAdministratorRights(authorization_), denied(-60007));
  EXPECT_THAT(client_->calls, ElementsAre("will begin", "set custom authenticate-admin Prompt.", "did end"));
}

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, RegistrationCancelledInItsOwnDialogIsACancellation) {
  client_->setStatus = -60006;

  EXPECT_EQ(requestAdministratorRights(authorization_), cancelled(-60006));
  EXPECT_EQ(client_->calls.back(), "did end");
}

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, CancelledDialogEndsTheInteractionAndAsksNothingMore) {
  client_->failingRight = "custom";
  client_->copyStatus = -60006;

  EXPECT_EQ(requestAdministratorRights(authorization_), cancelled(-60006));
  EXPECT_THAT(client_->calls,
              ElementsAre("will begin", "set custom authenticate-admin Prompt.", "copy custom 3", "did end"));
}

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, RefusedManagementRightIsADenial) {
  client_->failingRight = "management";
  client_->copyStatus = -60005;

  EXPECT_EQ(requestAdministratorRights(authorization_), denied(-60005));
  EXPECT_EQ(client_->calls.back(), "did end");
}

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, WillBeginHookCanStopTheRequest) {
  const auto stopped =
      VeskUpdateInstallerError::replacementHelperLaunchTimedOut(VeskAppBundleInstallerLaunchPhase::preAuthorization);

  const auto error = errorOf([&] {
    provider_.requestAdministratorRights(
        authorization_, "custom", "management", "Prompt.", [&] { throw VeskUpdateInstallerError(stopped); },
        [] { FAIL() << "no interaction began"; });
  });

  EXPECT_EQ(error, stopped);
  EXPECT_THAT(client_->calls, IsEmpty());
}

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, ManagementRightAloneIsCopiedWithoutInteraction) {
  EXPECT_EQ(errorOf([&] { provider_.requestServiceManagementRightsWithoutInteraction(authorization_, "management"); }),
            std::nullopt);

  EXPECT_THAT(client_->calls, ElementsAre("copy management 2"));
}

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, RefusalWithoutInteractionHasItsStatus) {
  client_->failingRight = "management";
  client_->copyStatus = -60007;

  EXPECT_EQ(errorOf([&] { provider_.requestServiceManagementRightsWithoutInteraction(authorization_, "management"); }),
            denied(-60007));
}

TEST_F(VeskAppBundleSecurityAuthorizationProviderTest, AuthorizationWithoutReferenceIsInvalid) {
  EXPECT_EQ(requestAdministratorRights(withoutReference_), denied(-60002));
  EXPECT_EQ(
      errorOf([&] { provider_.requestServiceManagementRightsWithoutInteraction(withoutReference_, "management"); }),
      denied(-60002));
  EXPECT_THAT(client_->calls, IsEmpty());
}

}  // namespace
}  // namespace quillon
