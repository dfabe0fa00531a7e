#include <gtest/gtest.h>

#include <string>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerRequest.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

QuillonPropertyListValue::Dictionary entry(const std::string& location, const std::string& installerName = {}) {
  QuillonPropertyListValue::Dictionary dictionary;
  if (!location.empty()) {
    dictionary.emplace(VeskUpdateFeedKeys::installerURL, QuillonPropertyListValue(location));
  }
  if (!installerName.empty()) {
    dictionary.emplace(VeskUpdateFeedKeys::installerName, QuillonPropertyListValue(installerName));
  }
  return dictionary;
}

TEST(VeskUpdateInstallerRequestTest, AnEntryGivesLocationAndNames) {
  const auto request = VeskUpdateInstallerRequest::makeFromFeed(
      entry("https://example.org/files/Example%202.zip?token=1", "Example 2.pkg"), "Example");

  EXPECT_EQ(request, (VeskUpdateInstallerRequest{
                         .archiveURL = QuillonURL::parse("https://example.org/files/Example%202.zip?token=1"),
                         .fallbackArchiveURL = std::nullopt,
                         .archiveFileName = "Example 2.zip",
                         .installerFileName = "Example 2.pkg",
                         .applicationName = "Example",
                         .installerSubdirectoryName = "Update Installer"}));
}

TEST(VeskUpdateInstallerRequestTest, WithoutAUsableLocationThereIsNone) {
  for (const std::string location : {"", "no location", "example.org/Example.zip"}) {
    const auto request = VeskUpdateInstallerRequest::makeFromFeed(entry(location), "Example");

    EXPECT_EQ(request.archiveURL, std::nullopt) << location;
    EXPECT_EQ(request.archiveFileName, "Update.zip");
    EXPECT_EQ(request.installerFileName, "Installer.pkg");
  }
}

TEST(VeskUpdateInstallerRequestTest, AValueThatIsNoTextCountsAsMissing) {
  QuillonPropertyListValue::Dictionary dictionary;
  dictionary.emplace(VeskUpdateFeedKeys::installerURL, QuillonPropertyListValue(std::int64_t{7}));
  dictionary.emplace(VeskUpdateFeedKeys::installerName, QuillonPropertyListValue(true));

  const auto request = VeskUpdateInstallerRequest::makeFromFeed(dictionary, "Example");

  EXPECT_EQ(request.archiveURL, std::nullopt);
  EXPECT_EQ(request.installerFileName, "Installer.pkg");
}

TEST(VeskUpdateInstallerRequestTest, TheHostNamesItsOwnDefaults) {
  const auto request = VeskUpdateInstallerRequest::makeFromFeed(
      entry("https://example.org/"), "Example",
      {.archiveFileName = "a.zip", .installerFileName = "b.deb", .installerSubdirectoryName = "c"});

  EXPECT_EQ(request.archiveFileName, "a.zip");
  EXPECT_EQ(request.installerFileName, "b.deb");
  EXPECT_EQ(request.installerSubdirectoryName, "c");
}

TEST(VeskUpdateInstallerRequestTest, NamesThatLeaveTheFolderAreNotTaken) {
  for (const std::string location : {"https://example.org/%2E%2E", "https://example.org/a/..",
                                     "https://example.org/a%00b", "https://example.org/."}) {
    const auto request = VeskUpdateInstallerRequest::makeFromFeed(entry(location), "Example");

    EXPECT_EQ(request.archiveFileName, "Update.zip") << location;
  }
  for (const std::string name : {"../Example.pkg", "..", ".", "/Example.pkg", "Folder/Example.pkg"}) {
    const auto request = VeskUpdateInstallerRequest::makeFromFeed(entry("https://example.org/a.zip", name), "Example");

    EXPECT_EQ(request.installerFileName, "Installer.pkg") << name;
  }
}

TEST(VeskUpdateInstallerRequestTest, NamesThatNoFileSystemHasRoomForAreNotTaken) {
  const std::string longest(255, 'a');

  EXPECT_EQ(VeskUpdateInstallerRequest::makeFromFeed(entry("https://example.org/" + longest), "A").archiveFileName,
            longest);
  const auto request =
      VeskUpdateInstallerRequest::makeFromFeed(entry("https://example.org/a" + longest, "a" + longest), "Example");

  EXPECT_EQ(request.archiveFileName, "Update.zip");
  EXPECT_EQ(request.installerFileName, "Installer.pkg");
}

TEST(VeskUpdateInstallerRequestTest, AnEncodedSlashInALocationLeadsNowhereElse) {
  const auto request =
      VeskUpdateInstallerRequest::makeFromFeed(entry("https://example.org/a/..%2F..%2Fetc%2Fcrontab"), "Example");

  EXPECT_EQ(request.archiveFileName, "crontab");
}

}  // namespace
}  // namespace quillon
