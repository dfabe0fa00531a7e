#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleFailureReportPlace.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

/// Lets the user write to one folder only, and to nothing above or below it.
class OneWritableFolder final : public QuillonPosixFileManager {
 public:
  explicit OneWritableFolder(const fs::path& folder) : folder_(folder.string()) {}
  [[nodiscard]] bool isWritableDirectory(const QuillonURL& item) const noexcept override {
    return item.path() == folder_ && QuillonPosixFileManager::isWritableDirectory(item);
  }

 private:
  std::string folder_;
};

class VeskAppBundleFailureReportPlaceTest : public ::testing::Test {
 protected:
  VeskAppBundleFailureReportPlaceTest() {
    fs::create_directories(home);
    fs::create_directories(system);
  }

  /// The path that is passed on; "refused" when there is none.
  [[nodiscard]] std::string place(const fs::path& requested) const {
    const auto place = failureReportPlace(OneWritableFolder(home), QuillonURL::fileURL(requested.string()));
    return place ? place->path() : "refused";
  }

  testing::TemporaryDirectory folder;
  fs::path root = fs::canonical(folder.path());
  fs::path home = root / "home";
  fs::path system = root / "system";
};

TEST_F(VeskAppBundleFailureReportPlaceTest, AWritableFolderIsAPlaceWhetherTheReportExistsOrNot) {
  EXPECT_EQ(place(home / "Failure.plist"), home / "Failure.plist");

  testing::writeFile(home / "Failure.plist", "");
  EXPECT_EQ(place(home / "Failure.plist"), home / "Failure.plist");
}

TEST_F(VeskAppBundleFailureReportPlaceTest, FoldersThatAreMissingAreJudgedByTheOneThatExists) {
  EXPECT_EQ(place(home / "Reports/Today/Failure.plist"), home / "Reports/Today/Failure.plist");
  EXPECT_EQ(place(system / "Reports/Today/Failure.plist"), "refused");
}

TEST_F(VeskAppBundleFailureReportPlaceTest, AFolderThatCannotBeWrittenIsRefused) {
  EXPECT_EQ(place(system / "Failure.plist"), "refused");

  testing::writeFile(system / "Failure.plist", "");
  EXPECT_EQ(place(system / "Failure.plist"), "refused");
}

TEST_F(VeskAppBundleFailureReportPlaceTest, OnlyTheDeepestFolderCounts) {
  fs::create_directory(home / "Guarded");

  EXPECT_EQ(place(home / "Guarded/Failure.plist"), "refused");
}

TEST_F(VeskAppBundleFailureReportPlaceTest, LinksOnTheWayAreResolved) {
  fs::create_directory_symlink(home, system / "to-home");

  EXPECT_EQ(place(system / "to-home/Failure.plist"), home / "Failure.plist");
  EXPECT_EQ(place(system / "to-home/Reports/Failure.plist"), home / "Reports/Failure.plist");
}

TEST_F(VeskAppBundleFailureReportPlaceTest, ALinkThatLeadsOutOfAWritableFolderIsRefused) {
  fs::create_directory_symlink(system, home / "to-system");

  EXPECT_EQ(place(home / "to-system/Failure.plist"), "refused");
  EXPECT_EQ(place(home / "to-system/Reports/Failure.plist"), "refused");
}

TEST_F(VeskAppBundleFailureReportPlaceTest, ALinkThatLeadsNowhereYetIsRefused) {
  fs::create_directory_symlink(system / "later", home / "dangling");
  fs::create_directory_symlink(home / "loop", home / "loop");

  EXPECT_EQ(place(home / "dangling/Failure.plist"), "refused");
  EXPECT_EQ(place(home / "dangling/Reports/Failure.plist"), "refused");
  EXPECT_EQ(place(home / "loop/Failure.plist"), "refused");
}

TEST_F(VeskAppBundleFailureReportPlaceTest, TheReportsOwnNameIsNotResolved) {
  testing::writeFile(system / "Other.plist", "");
  fs::create_symlink(system / "Other.plist", home / "Failure.plist");

  EXPECT_EQ(place(home / "Failure.plist"), home / "Failure.plist");
}

TEST_F(VeskAppBundleFailureReportPlaceTest, StepsUpwardsCountOnlyThroughFoldersThatExist) {
  fs::create_directory(home / "Reports");

  EXPECT_EQ(place(home / "Reports/../Failure.plist"), home / "Failure.plist");
  EXPECT_EQ(place(home / "../system/Failure.plist"), "refused");
  EXPECT_EQ(place(home / "missing/../Failure.plist"), "refused");
  EXPECT_EQ(place(home / "missing/../../system/Failure.plist"), "refused");
  EXPECT_EQ(place(home / "Reports/.."), "refused");
}

TEST_F(VeskAppBundleFailureReportPlaceTest, WhatIsNoFolderHoldsNoReport) {
  testing::writeFile(home / "file", "");

  EXPECT_EQ(place(home / "file/Failure.plist"), "refused");
  EXPECT_EQ(place(home / "file/Reports/Failure.plist"), "refused");
  EXPECT_EQ(place("/"), "refused");
}

TEST_F(VeskAppBundleFailureReportPlaceTest, WhatCannotBeLookedAtIsRefused) {
  EXPECT_EQ(place(home / std::string(300, 'x') / "Failure.plist"), "refused") << "a name that is too long";
}

}  // namespace
}  // namespace quillon
