#include <gtest/gtest.h>

#include <string>

#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleContainingApplication.h"

namespace quillon {
namespace {

std::optional<QuillonURL> applicationAround(const std::string& executable) {
  return containingApplicationURL(QuillonURL::fileURL(executable));
}

TEST(VeskAppBundleContainingApplicationTest, AServiceInItsPlaceBelongsToTheApplicationAroundIt) {
  EXPECT_EQ(applicationAround("/Applications/Foo.app/Contents/XPCServices/org.example.Foo.xpc/Contents/MacOS/"
                              "QuillonUpdateInstallerLauncherService"),
            QuillonURL::fileURL("/Applications/Foo.app"));
}

TEST(VeskAppBundleContainingApplicationTest, OfNestedApplicationsTheInnermostCounts) {
  EXPECT_EQ(applicationAround("/Outer.app/Contents/Inner.app/Contents/XPCServices/x.xpc/Contents/MacOS/"
                              "QuillonUpdateInstallerLauncherService"),
            QuillonURL::fileURL("/Outer.app/Contents/Inner.app"));
}

class OtherPlaces : public ::testing::TestWithParam<const char*> {};

TEST_P(OtherPlaces, ContainNoApplication) {
  EXPECT_EQ(applicationAround(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    VeskAppBundleContainingApplicationTest, OtherPlaces,
    ::testing::Values(
        "/", "/usr/bin/QuillonUpdateInstallerLauncherService", "/QuillonUpdateInstallerLauncherService",
        "/Foo.app/Contents/MacOS/QuillonUpdateInstallerLauncherService",
        "/Foo.app/XPCServices/x.xpc/Contents/MacOS/QuillonUpdateInstallerLauncherService",
        "/Foo.app/Contents/XPCServices/x.bundle/Contents/MacOS/QuillonUpdateInstallerLauncherService",
        "/Foo.app/Contents/XPCServices/.xpc/Contents/MacOS/QuillonUpdateInstallerLauncherService",
        "/Foo.app/Contents/Services/x.xpc/Contents/MacOS/QuillonUpdateInstallerLauncherService",
        "/Foo.app/Contents/XPCServices/x.xpc/Contents/Linux/QuillonUpdateInstallerLauncherService",
        "/Foo.app/Contents/XPCServices/x.xpc/Resources/MacOS/QuillonUpdateInstallerLauncherService",
        "/Foo.app/Contents/XPCServices/x.xpc/Contents/MacOS/sub/QuillonUpdateInstallerLauncherService",
        "/Foo.app/Contents/XPCServices/x.xpc/Contents/MacOS/Other",
        // What the kernel says of a program that was removed, and of one whose application was moved aside.
        "/Foo.app/Contents/XPCServices/x.xpc/Contents/MacOS/QuillonUpdateInstallerLauncherService (deleted)",
        "/Foo.app.vesk-update-backup-1/Contents/XPCServices/x.xpc/Contents/MacOS/QuillonUpdateInstallerLauncherService",
        "/.app/Contents/XPCServices/x.xpc/Contents/MacOS/QuillonUpdateInstallerLauncherService",
        "/Foo/Contents/XPCServices/x.xpc/Contents/MacOS/QuillonUpdateInstallerLauncherService"));

TEST(VeskAppBundleContainingApplicationTest, AProgramOutsideOfApplicationsHasNone) {
  EXPECT_EQ(defaultContainingApplicationURL(), std::nullopt);
}

}  // namespace
}  // namespace quillon
