#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorization.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(VeskAppBundleLaunchdAuthorizationTest, FreesItsReferenceOnceWhenItGoes) {
  int anything = 0;
  const auto ref = reinterpret_cast<VeskAppBundleAuthorizationRef>(&anything);
  std::vector<VeskAppBundleAuthorizationRef> freed;
  {
    const VeskAppBundleLaunchdAuthorization authorization(
        ref, [&](VeskAppBundleAuthorizationRef freedRef) { freed.push_back(freedRef); });
    EXPECT_EQ(authorization.authorizationRef(), ref);
    EXPECT_THAT(freed, IsEmpty());
  }
  EXPECT_THAT(freed, ElementsAre(ref));
}

TEST(VeskAppBundleLaunchdAuthorizationTest, CanBeWithoutReferenceAndFunction) {
  const VeskAppBundleLaunchdAuthorization authorization(nullptr, nullptr);

  EXPECT_EQ(authorization.authorizationRef(), nullptr);
}

}  // namespace
}  // namespace quillon
