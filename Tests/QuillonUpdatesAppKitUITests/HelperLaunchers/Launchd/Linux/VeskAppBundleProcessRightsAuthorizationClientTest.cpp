#include <gtest/gtest.h>
#include <unistd.h>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleProcessRightsAuthorizationClient.h"

namespace quillon {
namespace {

TEST(VeskAppBundleProcessRightsAuthorizationClientTest, RootHasEveryRight) {
  VeskAppBundleProcessRightsAuthorizationClient client(0);
  const auto creation = client.createAuthorization();

  EXPECT_EQ(creation.status, 0);
  EXPECT_EQ(client.setRight(creation.authorizationRef, "right", "rule", "text"), 0);
  EXPECT_EQ(client.copyRight(creation.authorizationRef, "right", 3), 0);
  client.freeAuthorization(creation.authorizationRef);
}

TEST(VeskAppBundleProcessRightsAuthorizationClientTest, OthersAreDeniedWithoutBeingAsked) {
  VeskAppBundleProcessRightsAuthorizationClient client(1000);
  const auto creation = client.createAuthorization();

  EXPECT_EQ(creation.status, 0);
  EXPECT_EQ(client.copyRight(creation.authorizationRef, "right", 3), -60005);
  EXPECT_EQ(client.copyRight(creation.authorizationRef, "right", 2), -60005);
}

TEST(VeskAppBundleProcessRightsAuthorizationClientTest, ForeignReferenceIsInvalid) {
  VeskAppBundleProcessRightsAuthorizationClient client(0);
  VeskAppBundleProcessRightsAuthorizationClient other(0);

  EXPECT_EQ(client.copyRight(other.createAuthorization().authorizationRef, "right", 2), -60002);
  EXPECT_EQ(client.copyRight(nullptr, "right", 2), -60002);
}

TEST(VeskAppBundleProcessRightsAuthorizationClientTest, SpeaksForTheEffectiveUser) {
  VeskAppBundleProcessRightsAuthorizationClient client;

  EXPECT_EQ(client.copyRight(client.createAuthorization().authorizationRef, "right", 2), geteuid() == 0 ? 0 : -60005);
}

}  // namespace
}  // namespace quillon
