#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdManagementRights.h"
#include "Support/FakePolkitAuthority.h"
#include "Support/PrivateBus.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using testing::FakePolkitAuthority;
using testing::PrivateBus;
using Answer = FakePolkitAuthority::Answer;

constexpr std::chrono::seconds kTimeLimit{20};
constexpr std::uint32_t kUser = 1000;

TEST(SystemdManagementRightsTest, PolkitDecidesAndAsksNobody) {
  for (const auto answer : {Answer::granted, Answer::confirmed, Answer::refused}) {
    const PrivateBus bus;
    const FakePolkitAuthority polkit(bus.address(), {.actions = {{kManageUnitsAction, answer}}});

    EXPECT_EQ(mayManageUnitsWithoutDialog(bus.address(), kTimeLimit, kUser), answer == Answer::granted);

    EXPECT_THAT(polkit.calls(), ElementsAre("CheckAuthorization org.freedesktop.systemd1.manage-units 0"));
  }
}

TEST(SystemdManagementRightsTest, WithoutPolkitOrBusOnlyRootMay) {
  const PrivateBus bus;

  EXPECT_FALSE(mayManageUnitsWithoutDialog(bus.address(), kTimeLimit, kUser));
  EXPECT_FALSE(mayManageUnitsWithoutDialog("unix:path=/no/such/bus", kTimeLimit, kUser));
  EXPECT_TRUE(mayManageUnitsWithoutDialog("unix:path=/no/such/bus", kTimeLimit, 0));
}

}  // namespace
}  // namespace quillon
