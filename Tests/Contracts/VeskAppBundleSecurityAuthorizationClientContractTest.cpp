// What every client of the authorization services promises, whoever stands behind it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundlePolkitAuthorizationClient.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleProcessRightsAuthorizationClient.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorizationProviding.h"
#include "Support/FakePolkitAuthority.h"
#include "Support/PrivateBus.h"

namespace quillon {
namespace {

using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::Each;
using testing::FakePolkitAuthority;
using testing::PrivateBus;

constexpr std::uint32_t kWithDialog = kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights;
constexpr std::uint32_t kWithoutDialog = kAuthorizationFlagExtendRights;

/// A client with what it talks to.
struct World {
  std::shared_ptr<void> surroundings;
  std::shared_ptr<VeskAppBundleSecurityAuthorizationClient> client;
};

struct Implementation {
  friend void PrintTo(const Implementation& implementation, std::ostream* out) { *out << implementation.name; }

  std::string name;
  /// What it says to the management right, with and without a dialog.
  std::int32_t statusWithDialog;
  std::int32_t statusWithoutDialog;
  VeskAppBundleRightGrant grantWithDialog;
  std::function<World()> make;
};

World makeProcessRights(std::uint32_t user) {
  return {.surroundings = nullptr, .client = std::make_shared<VeskAppBundleProcessRightsAuthorizationClient>(user)};
}

struct PolkitSurroundings {
  explicit PolkitSurroundings(FakePolkitAuthority::Answer answer)
      : polkit(bus.address(), {.actions = {{"org.freedesktop.systemd1.manage-units", answer}}}) {}

  PrivateBus bus;
  FakePolkitAuthority polkit;
};

World makePolkit(FakePolkitAuthority::Answer answer) {
  const auto surroundings = std::make_shared<PolkitSurroundings>(answer);
  return {.surroundings = surroundings,
          .client = std::make_shared<VeskAppBundlePolkitAuthorizationClient>(
              surroundings->bus.address(), VeskAppBundlePolkitAuthorizationClient::kDefaultTimeLimit,
              [](std::string_view) {})};
}

class VeskAppBundleSecurityAuthorizationClientContract : public ::testing::TestWithParam<Implementation> {
 protected:
  World world = GetParam().make();
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

TEST_P(VeskAppBundleSecurityAuthorizationClientContract, TheManagementRightHasOneAnswer) {
  const auto creation = client.createAuthorization();
  const VeskAppBundleLaunchdAuthorization authorization(creation.authorizationRef, {});

  EXPECT_EQ(client.copyRight(creation.authorizationRef, kServiceManagementRightName, kWithoutDialog),
            GetParam().statusWithoutDialog);
  EXPECT_EQ(client.copyRight(creation.authorizationRef, kServiceManagementRightName, kWithDialog),
            GetParam().statusWithDialog);
  EXPECT_EQ(serviceManagementGrant(authorization), GetParam().grantWithDialog);
  client.freeAuthorization(creation.authorizationRef);
}

TEST_P(VeskAppBundleSecurityAuthorizationClientContract, ADenialDoesNotLookLikeAGrant) {
  const auto creation = client.createAuthorization();
  const VeskAppBundleLaunchdAuthorization authorization(creation.authorizationRef, {});

  const std::int32_t status = client.copyRight(creation.authorizationRef, kServiceManagementRightName, kWithoutDialog);

  EXPECT_EQ(status == kAuthorizationSuccess, serviceManagementGrant(authorization) == VeskAppBundleRightGrant::kept);
  client.freeAuthorization(creation.authorizationRef);
}

TEST_P(VeskAppBundleSecurityAuthorizationClientContract, MissingAndForeignReferencesAreInvalid) {
  const World other = GetParam().make();
  const auto foreign = other.client->createAuthorization();

  for (const VeskAppBundleAuthorizationRef ref : {VeskAppBundleAuthorizationRef{}, foreign.authorizationRef}) {
    EXPECT_EQ(client.setRight(ref, "org.example.right", "authenticate-admin", "Prompt."), kAuthorizationInvalidRef);
    EXPECT_EQ(client.copyRight(ref, kServiceManagementRightName, kWithDialog), kAuthorizationInvalidRef);
    client.freeAuthorization(ref);
  }
  other.client->freeAuthorization(foreign.authorizationRef);
}

TEST_P(VeskAppBundleSecurityAuthorizationClientContract, AuthorizationsMayBeUsedOnAnyThread) {
  std::vector<std::int32_t> statuses(4, 1);
  {
    std::vector<std::jthread> threads;
    threads.reserve(statuses.size());
    for (std::int32_t& status : statuses) {
      threads.emplace_back([this, &status] {
        const auto creation = client.createAuthorization();
        status = client.copyRight(creation.authorizationRef, kServiceManagementRightName, kWithoutDialog);
        client.freeAuthorization(creation.authorizationRef);
      });
    }
  }

  EXPECT_THAT(statuses, Contains(GetParam().statusWithoutDialog));
  EXPECT_THAT(statuses, Each(AnyOf(GetParam().statusWithoutDialog, kAuthorizationDenied)))
      << "one may be denied because of another";
}

TEST_P(VeskAppBundleSecurityAuthorizationClientContract, OneAuthorizationAfterAnotherHasTheSameAnswer) {
  std::vector<std::int32_t> statuses;
  for (int count = 0; count < 2; ++count) {
    const auto creation = client.createAuthorization();
    statuses.push_back(client.copyRight(creation.authorizationRef, kServiceManagementRightName, kWithDialog));
    client.freeAuthorization(creation.authorizationRef);
  }

  EXPECT_THAT(statuses, Each(GetParam().statusWithDialog));
}

using Answer = FakePolkitAuthority::Answer;
using Grant = VeskAppBundleRightGrant;

INSTANTIATE_TEST_SUITE_P(
    Linux, VeskAppBundleSecurityAuthorizationClientContract,
    ::testing::Values(
        Implementation{"RootsRights", 0, 0, Grant::kept, [] { return makeProcessRights(0); }},
        Implementation{"UsersRights", -60005, -60005, Grant::none, [] { return makeProcessRights(1000); }},
        Implementation{"PolkitGrants", 0, 0, Grant::kept, [] { return makePolkit(Answer::granted); }},
        Implementation{"PolkitKeeps", 0, -60005, Grant::kept, [] { return makePolkit(Answer::kept); }},
        Implementation{"PolkitAsks", 0, -60005, Grant::once, [] { return makePolkit(Answer::confirmed); }},
        Implementation{"PolkitDenies", -60005, -60005, Grant::none, [] { return makePolkit(Answer::refused); }},
        Implementation{"PolkitCancels", -60006, -60005, Grant::none, [] { return makePolkit(Answer::dismissed); }}),
    [](const ::testing::TestParamInfo<Implementation>& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace quillon
