#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateHelperIdentity.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateRequest.h"

namespace quillon {
namespace {

VeskAppBundleUpdateRequest make(const QuillonPropertyListValue::Dictionary& entry) {
  return VeskAppBundleUpdateRequest::makeFromFeed(entry, "Example", QuillonURL::fileURL("/Applications/Example.app"),
                                                  {.bundleIdentifier = "org.example.App",
                                                   .applicationVersion = "1",
                                                   .applicationBuild = 1,
                                                   .expectedTeamIdentifier = std::nullopt,
                                                   .allowsSameBuildReplacement = false},
                                                  QuillonURL::fileURL("/helper"), "Updates", "attempt");
}

TEST(VeskAppBundleUpdateRequestTest, TheArchiveIsTheOneThatTheEntryNames) {
  const auto request = make({{"app-installer", QuillonPropertyListValue("https://example.org/a/Example%202.zip?x=1")}});

  ASSERT_TRUE(request.archiveURL.has_value());
  EXPECT_EQ(request.archiveURL->absoluteString(), "https://example.org/a/Example%202.zip?x=1");
  EXPECT_EQ(request.archiveFileName, "Example 2.zip");
  EXPECT_EQ(request.fallbackArchiveURL, std::nullopt);
  EXPECT_EQ(request.applicationName, "Example");
  EXPECT_EQ(request.installerSubdirectoryName, "Updates");
  EXPECT_EQ(request.failureReportAttemptIdentifier, "attempt");
  EXPECT_EQ(request.helperExecutableURL, QuillonURL::fileURL("/helper"));
  EXPECT_EQ(request, request);
}

TEST(VeskAppBundleUpdateRequestTest, ALocationThatIsNoStringMissingOrNoURLGivesNoArchive) {
  for (const auto& entry : {QuillonPropertyListValue::Dictionary{},
                            QuillonPropertyListValue::Dictionary{{"app-installer", QuillonPropertyListValue(7)}},
                            QuillonPropertyListValue::Dictionary{{"app-installer", QuillonPropertyListValue("")}},
                            QuillonPropertyListValue::Dictionary{{"app-installer", QuillonPropertyListValue("a b")}}}) {
    const auto request = make(entry);
    EXPECT_EQ(request.archiveURL, std::nullopt);
    EXPECT_EQ(request.archiveFileName, "");
  }
}

TEST(VeskAppBundleUpdateHelperIdentityTest, TheCommandIsCalledByItsName) {
  EXPECT_EQ(VeskAppBundleUpdateHelperIdentity::executableName, "QuillonUpdateInstaller");
}

}  // namespace
}  // namespace quillon
