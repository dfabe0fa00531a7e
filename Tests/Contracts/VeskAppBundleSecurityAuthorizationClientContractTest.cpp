// The promises of an authorization client, held by polkit and by the rights of the process; and what only these two
// have: an authorization that says what it was granted, and a client that knows its own.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "Contracts/VeskAppBundleSecurityAuthorizationClientContract.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleAuthorizationOpaqueRef.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundlePolkitAuthorizationClient.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleProcessRightsAuthorizationClient.h"
#include "Support/FakePolkitAuthority.h"
#include "Support/PrivateBus.h"

namespace quillon {
namespace {

using Answer = testing::FakePolkitAuthority::Answer;
using Grant = VeskAppBundleRightGrant;
using World = testing::AuthorizationWorld;
using testing::FakePolkitAuthority;
using testing::kAuthorizationWithDialog;
using testing::kAuthorizationWithoutDialog;
using testing::PrivateBus;

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

struct LinuxImplementation {
  friend void PrintTo(const LinuxImplementation& implementation, std::ostream* out) {
    PrintTo(implementation.contract, out);
  }

  testing::AuthorizationImplementation contract;
  Grant grantWithDialog;
};

const LinuxImplementation kRootsRights{{"RootsRights", 0, 0, [] { return makeProcessRights(0); }}, Grant::kept};
const LinuxImplementation kUsersRights{{"UsersRights", -60005, -60005, [] { return makeProcessRights(1000); }},
                                       Grant::none};
const LinuxImplementation kPolkitGrants{{"PolkitGrants", 0, 0, [] { return makePolkit(Answer::granted); }},
                                        Grant::kept};
const LinuxImplementation kPolkitKeeps{{"PolkitKeeps", 0, -60005, [] { return makePolkit(Answer::kept); }},
                                       Grant::kept};
const LinuxImplementation kPolkitAsks{{"PolkitAsks", 0, -60005, [] { return makePolkit(Answer::confirmed); }},
                                      Grant::once};
const LinuxImplementation kPolkitDenies{{"PolkitDenies", -60005, -60005, [] { return makePolkit(Answer::refused); }},
                                        Grant::none};
const LinuxImplementation kPolkitCancels{
    {"PolkitCancels", -60006, -60005, [] { return makePolkit(Answer::dismissed); }}, Grant::none};

class VeskAppBundleLinuxAuthorizationClientTest : public ::testing::TestWithParam<LinuxImplementation> {
 protected:
  World world = GetParam().contract.make();
  VeskAppBundleSecurityAuthorizationClient& client = *world.client;
};

TEST_P(VeskAppBundleLinuxAuthorizationClientTest, AnAuthorizationSaysWhatItWasGranted) {
  const auto creation = client.createAuthorization();
  const VeskAppBundleLaunchdAuthorization authorization(creation.authorizationRef, {});

  EXPECT_EQ(client.copyRight(creation.authorizationRef, kServiceManagementRightName, kAuthorizationWithoutDialog),
            GetParam().contract.statusWithoutDialog);
  EXPECT_EQ(client.copyRight(creation.authorizationRef, kServiceManagementRightName, kAuthorizationWithDialog),
            GetParam().contract.statusWithDialog);
  EXPECT_EQ(serviceManagementGrant(authorization), GetParam().grantWithDialog);
  client.freeAuthorization(creation.authorizationRef);
}

TEST_P(VeskAppBundleLinuxAuthorizationClientTest, ADenialDoesNotLookLikeAGrant) {
  const auto creation = client.createAuthorization();
  const VeskAppBundleLaunchdAuthorization authorization(creation.authorizationRef, {});

  const std::int32_t status =
      client.copyRight(creation.authorizationRef, kServiceManagementRightName, kAuthorizationWithoutDialog);

  EXPECT_EQ(status == kAuthorizationSuccess, serviceManagementGrant(authorization) == Grant::kept);
  client.freeAuthorization(creation.authorizationRef);
}

TEST_P(VeskAppBundleLinuxAuthorizationClientTest, ReferencesOfOtherClientsAreInvalid) {
  const World other = GetParam().contract.make();
  const auto foreign = other.client->createAuthorization();

  EXPECT_EQ(client.setRight(foreign.authorizationRef, "org.example.right", "authenticate-admin", "Prompt."),
            kAuthorizationInvalidRef);
  EXPECT_EQ(client.copyRight(foreign.authorizationRef, kServiceManagementRightName, kAuthorizationWithDialog),
            kAuthorizationInvalidRef);
  client.freeAuthorization(foreign.authorizationRef);
  other.client->freeAuthorization(foreign.authorizationRef);
}

INSTANTIATE_TEST_SUITE_P(Linux, VeskAppBundleSecurityAuthorizationClientContract,
                         ::testing::Values(kRootsRights.contract, kUsersRights.contract, kPolkitGrants.contract,
                                           kPolkitKeeps.contract, kPolkitAsks.contract, kPolkitDenies.contract,
                                           kPolkitCancels.contract),
                         [](const auto& parameter) { return parameter.param.name; });
INSTANTIATE_TEST_SUITE_P(Linux, VeskAppBundleLinuxAuthorizationClientTest,
                         ::testing::Values(kRootsRights, kUsersRights, kPolkitGrants, kPolkitKeeps, kPolkitAsks,
                                           kPolkitDenies, kPolkitCancels),
                         [](const auto& parameter) { return parameter.param.contract.name; });

}  // namespace
}  // namespace quillon
