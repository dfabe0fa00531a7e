#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorizationProviding.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationClient.h"

// What every client of the authorization services promises, whoever stands behind it. A test executable that includes
// this instantiates the suite with its implementations.

namespace quillon {
namespace testing {

inline constexpr std::uint32_t kAuthorizationWithDialog =
    kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights;
inline constexpr std::uint32_t kAuthorizationWithoutDialog = kAuthorizationFlagExtendRights;

/// A client with what it talks to.
struct AuthorizationWorld {
  std::shared_ptr<void> surroundings;
  std::shared_ptr<VeskAppBundleSecurityAuthorizationClient> client;
};

struct AuthorizationImplementation {
  friend void PrintTo(const AuthorizationImplementation& implementation, std::ostream* out) {
    *out << implementation.name;
  }

  std::string name;
  /// What it says to the management right with a dialog; absent where that takes somebody who answers.
  std::optional<std::int32_t> statusWithDialog;
  std::int32_t statusWithoutDialog;
  std::function<AuthorizationWorld()> make;
};

}  // namespace testing

class VeskAppBundleSecurityAuthorizationClientContract
    : public ::testing::TestWithParam<testing::AuthorizationImplementation> {
 protected:
  testing::AuthorizationWorld world = GetParam().make();
  VeskAppBundleSecurityAuthorizationClient& client = *world.client;
};

TEST_P(VeskAppBundleSecurityAuthorizationClientContract, AnAuthorizationIsMadeWithoutAnyRight) {
  const auto creation = client.createAuthorization();

  EXPECT_EQ(creation.status, kAuthorizationSuccess);
  EXPECT_NE(creation.authorizationRef, nullptr);
  client.freeAuthorization(creation.authorizationRef);
}

TEST_P(VeskAppBundleSecurityAuthorizationClientContract, RightsAreDescribedForAnyAuthorization) {
  const auto creation = client.createAuthorization();

  EXPECT_EQ(client.setRight(creation.authorizationRef, "org.example.right", "authenticate-admin", "Prompt."),
            kAuthorizationSuccess);
  client.freeAuthorization(creation.authorizationRef);
}

TEST_P(VeskAppBundleSecurityAuthorizationClientContract, TheManagementRightHasOneAnswerWithoutADialog) {
  const auto creation = client.createAuthorization();

  EXPECT_EQ(
      client.copyRight(creation.authorizationRef, kServiceManagementRightName, testing::kAuthorizationWithoutDialog),
      GetParam().statusWithoutDialog);
  client.freeAuthorization(creation.authorizationRef);
}

TEST_P(VeskAppBundleSecurityAuthorizationClientContract, AMissingReferenceIsInvalid) {
  EXPECT_EQ(client.setRight(nullptr, "org.example.right", "authenticate-admin", "Prompt."), kAuthorizationInvalidRef);
  EXPECT_EQ(client.copyRight(nullptr, kServiceManagementRightName, testing::kAuthorizationWithoutDialog),
            kAuthorizationInvalidRef);
  client.freeAuthorization(nullptr);
}

TEST_P(VeskAppBundleSecurityAuthorizationClientContract, AuthorizationsMayBeUsedOnAnyThread) {
  std::vector<std::int32_t> statuses(4, 1);
  {
    std::vector<std::jthread> threads;
    threads.reserve(statuses.size());
    for (std::int32_t& status : statuses) {
      threads.emplace_back([this, &status] {
        const auto creation = client.createAuthorization();
        status = client.copyRight(creation.authorizationRef, kServiceManagementRightName,
                                  testing::kAuthorizationWithoutDialog);
        client.freeAuthorization(creation.authorizationRef);
      });
    }
  }

  EXPECT_THAT(statuses, ::testing::Contains(GetParam().statusWithoutDialog));
  EXPECT_THAT(statuses, ::testing::Each(::testing::AnyOf(GetParam().statusWithoutDialog, kAuthorizationDenied)))
      << "one may be denied because of another";
}

TEST_P(VeskAppBundleSecurityAuthorizationClientContract, OneAuthorizationAfterAnotherHasTheSameAnswer) {
  if (!GetParam().statusWithDialog) GTEST_SKIP() << "Somebody would have to answer a dialog.";
  std::vector<std::int32_t> statuses;
  for (int count = 0; count < 2; ++count) {
    const auto creation = client.createAuthorization();
    statuses.push_back(
        client.copyRight(creation.authorizationRef, kServiceManagementRightName, testing::kAuthorizationWithDialog));
    client.freeAuthorization(creation.authorizationRef);
  }

  EXPECT_THAT(statuses, ::testing::Each(*GetParam().statusWithDialog));
}

}  // namespace quillon
