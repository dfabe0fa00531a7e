#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCSystemServices.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

TEST(VeskAppBundleXPCSystemServicesTest, AHostWithoutServiceGetsNoConnection) {
  const testing::TemporaryDirectory folder;
  const auto factory =
      makeSystemInstallerLauncherServiceConnectionFactory(QuillonURL::fileURL((folder / "Example.app").string()));

  EXPECT_FALSE(factory->make(
      "io.quillon.UpdateInstallerLauncherService", [](const QuillonSystemError& /*error*/) {},
      [](const VeskAppBundleInstallerLaunchProgress& /*progress*/) {}));
}

}  // namespace
}  // namespace quillon
