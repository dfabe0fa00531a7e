#include <gtest/gtest.h>

#include <optional>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceInfo.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using Info = VeskAppBundleInstallerLauncherServiceInfo;

TEST(VeskAppBundleInstallerLauncherServiceInfoTest, TheServiceIsNamedAfterTheHost) {
  EXPECT_EQ(Info::serviceName("org.example.App"), "org.example.App.Quillon.UpdateInstallerLauncherService");
}

TEST(VeskAppBundleInstallerLauncherServiceInfoTest, AHostWithoutIdentifierHasTheCommonName) {
  EXPECT_EQ(Info::serviceName(std::nullopt), "io.quillon.UpdateInstallerLauncherService");
  EXPECT_EQ(Info::serviceName(""), "io.quillon.UpdateInstallerLauncherService");
}

TEST(VeskAppBundleInstallerLauncherServiceInfoTest, TheCurrentHostsNameComesFromItsBundle) {
  const testing::TemporaryDirectory folder;
  testing::makeApplicationBundle(folder / "Example.app", {.identifier = "org.example.Host"});
  const auto fileManager = makeSystemFileManager();

  EXPECT_EQ(Info::currentHostServiceName(*fileManager, QuillonURL::fileURL((folder / "Example.app").string())),
            "org.example.Host.Quillon.UpdateInstallerLauncherService");
  EXPECT_EQ(Info::currentHostServiceName(*fileManager, QuillonURL::fileURL((folder / "Other.app").string())),
            "io.quillon.UpdateInstallerLauncherService");
}

}  // namespace
}  // namespace quillon
