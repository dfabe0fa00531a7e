#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonTool/Update/InstalledApplication.h"
#include "QuillonTool/Update/UpdateFailure.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/FakeProcessRunner.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class InstalledApplicationTest : public ::testing::Test {
 protected:
  void describe(const std::string& entries) const {
    testing::writeFile(bundle_ / "Contents/Info.plist", "<plist version=\"1.0\"><dict>" + entries + "</dict></plist>");
  }
  [[nodiscard]] InstalledApplication read() const {
    return InstalledApplication::read(*files_, QuillonURL::fileURL(bundle_.string()));
  }
  /// The failure's code and text, "" when there is none.
  [[nodiscard]] std::string failure() const {
    try {
      (void)read();
      return {};
    } catch (const UpdateFailure& error) {
      return error.code() + ": " + error.description();
    }
  }

  static constexpr const char* kUsual =
      "<key>CFBundleIdentifier</key><string>org.example.App</string>"
      "<key>CFBundleShortVersionString</key><string>1.0</string><key>CFBundleVersion</key><string>7</string>";

  const std::shared_ptr<QuillonFileManaging> files_ = makeSystemFileManager();
  const testing::TemporaryDirectory folder_;
  const fs::path bundle_ = fs::canonical(folder_.path()) / "Example.app";
};

TEST_F(InstalledApplicationTest, ABundleSaysWhoItIsAndWhereItsFeedIs) {
  describe(std::string(kUsual) +
           "<key>CFBundleName</key><string>Short</string><key>CFBundleDisplayName</key><string> The Example </string>"
           "<key>QuillonUpdateFeedURL</key><string>https://example.org/feed.plist</string>"
           "<key>QuillonUpdateDistribution</key><string>direct</string>");

  const InstalledApplication application = read();

  EXPECT_EQ(application.name, "The Example");
  EXPECT_EQ(application.identifier, "org.example.App");
  EXPECT_EQ(application.version, "1.0");
  EXPECT_EQ(application.build, 7);
  EXPECT_EQ(application.feed->absoluteString(), "https://example.org/feed.plist");
  EXPECT_THAT(application.skus, ElementsAre("direct"));
}

TEST_F(InstalledApplicationTest, ABundleWithoutANameIsCalledAsItsFolder) {
  describe(kUsual);

  EXPECT_EQ(read().name, "Example");
  EXPECT_FALSE(read().feed);
}

TEST_F(InstalledApplicationTest, LinksToTheBundleAreFollowed) {
  describe(kUsual);
  fs::create_symlink(bundle_, folder_ / "Link.app");

  const auto application = InstalledApplication::read(*files_, QuillonURL::fileURL((folder_ / "Link.app").string()));

  EXPECT_EQ(application.bundle.path(), bundle_.string());
  EXPECT_EQ(application.installer().path(), (bundle_ / "Contents/MacOS/QuillonUpdateInstaller").string());
  EXPECT_THAT(application.launcherService(*files_).path(),
              HasSubstr("/Contents/XPCServices/org.example.App.Quillon.UpdateInstallerLauncherService.xpc"));
}

TEST_F(InstalledApplicationTest, WhatIsMissingIsNamed) {
  EXPECT_EQ(failure(), "noBundle: There is no application bundle at " + bundle_.string() + ".");

  describe("<key>CFBundleShortVersionString</key><string>1.0</string>");
  EXPECT_THAT(failure(), HasSubstr("incompleteBundle: " + bundle_.string() + " has no CFBundleIdentifier in"));

  describe("<key>CFBundleIdentifier</key><string>org.example.App</string>");
  EXPECT_THAT(failure(), HasSubstr("has no CFBundleShortVersionString in"));
}

TEST_F(InstalledApplicationTest, WhatCannotBeUsedIsRefused) {
  describe(
      "<key>CFBundleIdentifier</key><string>../other</string>"
      "<key>CFBundleShortVersionString</key><string>1.0</string>");
  EXPECT_THAT(failure(), HasSubstr("it names a folder"));

  describe(std::string(kUsual) + "<key>QuillonUpdateFeedURL</key><string>feed.plist</string>");
  EXPECT_THAT(failure(), HasSubstr("noFeedURL: QuillonUpdateFeedURL in Contents/Info.plist is no URL: \"feed.plist\""));
}

TEST_F(InstalledApplicationTest, TheTeamIsAskedOfTheCodeSigningTool) {
  testing::FakeProcessRunner tool;
  const auto team = [&](std::int32_t status, const std::string& output) {
    tool.answer = [=](const auto&) { return QuillonProcessResult{.status = status, .output = output}; };
    return signingTeam(QuillonURL::fileURL("/A.app"), tool, "/codesign");
  };

  EXPECT_EQ(team(0, "Identifier=a\nTeamIdentifier=TEAM123456\n"), "TEAM123456");
  EXPECT_EQ(team(0, "TeamIdentifier=not set\n"), std::nullopt);
  EXPECT_EQ(team(0, "Identifier=a\n"), std::nullopt);
  EXPECT_EQ(team(1, "TeamIdentifier=TEAM123456\n"), std::nullopt);
  EXPECT_THAT(tool.commands.front(), ElementsAre("/codesign", "-dv", "--verbose=4", "/A.app"));
}

}  // namespace
}  // namespace quillon
