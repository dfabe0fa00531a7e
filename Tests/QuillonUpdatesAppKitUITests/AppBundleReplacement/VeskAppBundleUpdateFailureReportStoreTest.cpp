#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReportStore.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::UnorderedElementsAre;
using Store = VeskAppBundleUpdateFailureReportStore;

/// The system's file manager with an Application Support folder of the test's own.
class RelocatedFileManager final : public QuillonPosixFileManager {
 public:
  [[nodiscard]] std::vector<QuillonURL> applicationSupportDirectories() const override { return folders; }
  std::vector<QuillonURL> folders;
};

class VeskAppBundleUpdateFailureReportStoreTest : public ::testing::Test {
 protected:
  VeskAppBundleUpdateFailureReportStoreTest() { files->folders = {QuillonURL::fileURL((folder / "Support").string())}; }
  [[nodiscard]] Store store() const {
    return Store(files, [] { return Store::TimePoint(std::chrono::seconds(77)); });
  }
  [[nodiscard]] fs::path reportFolder() const { return folder / "Support/org.example.App/SeamlessInstaller"; }

  testing::TemporaryDirectory folder;
  std::shared_ptr<RelocatedFileManager> files = std::make_shared<RelocatedFileManager>();
  const Store::TimePoint time{std::chrono::seconds(5)};
};

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, ReportsLieInTheApplicationsOwnFolder) {
  EXPECT_EQ(Store::reportURL("org.example.App", QuillonURL::fileURL("/S"))->path(),
            "/S/org.example.App/SeamlessInstaller/QuillonUpdateInstallerFailure.plist");
  EXPECT_EQ(Store::userApplicationSupportReportURL("org.example.App", "/Users/ann")->path(),
            "/Users/ann/Library/Application Support/org.example.App/SeamlessInstaller/"
            "QuillonUpdateInstallerFailure.plist");
  EXPECT_EQ(Store::sandboxContainerReportURL("org.example.App", "/Users/ann")->path(),
            "/Users/ann/Library/Containers/org.example.App/Data/Library/Application Support/org.example.App/"
            "SeamlessInstaller/QuillonUpdateInstallerFailure.plist");
  EXPECT_EQ(store().reportURL("org.example.App")->path(),
            (reportFolder() / "QuillonUpdateInstallerFailure.plist").string());
}

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, EmptyOrLeadingOutArgumentsGiveNoLocation) {
  EXPECT_EQ(Store::reportURL("", QuillonURL::fileURL("/S")), std::nullopt);
  EXPECT_EQ(Store::reportURL("../x", QuillonURL::fileURL("/S")), std::nullopt);
  EXPECT_EQ(Store::reportURL("..", QuillonURL::fileURL("/S")), std::nullopt);
  EXPECT_EQ(Store::userApplicationSupportReportURL("", "/h"), std::nullopt);
  EXPECT_EQ(Store::userApplicationSupportReportURL("x", ""), std::nullopt);
  EXPECT_EQ(Store::sandboxContainerReportURL("", "/h"), std::nullopt);
  EXPECT_EQ(Store::sandboxContainerReportURL("x", ""), std::nullopt);
  files->folders.clear();
  EXPECT_EQ(store().reportURL("org.example.App"), std::nullopt);
}

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, AnAttemptsFileTakesOnlyPlainIdentifiers) {
  const QuillonURL base = QuillonURL::fileURL("/f/QuillonUpdateInstallerFailure.plist");

  EXPECT_EQ(Store::attemptReportURL(base, "aZ9-_")->path(), "/f/QuillonUpdateInstallerFailure-aZ9-_.plist");
  EXPECT_TRUE(Store::attemptReportURL(base, std::string(128, 'x')).has_value());
  for (const auto& identifier : {std::string(129, 'x'), std::string("a/b"), std::string("a.b"), std::string(),
                                 std::string("a b"), std::string("\u00E9")}) {
    EXPECT_EQ(Store::attemptReportURL(base, identifier), std::nullopt) << identifier;
  }
  EXPECT_EQ(Store::attemptReportURL(base, std::nullopt), std::nullopt);
}

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, AnUnusableAttemptIdentifierWritesTheBaseReport) {
  store().writeFailureReport("x", "org.example.App", time, std::string(129, 'x'));

  EXPECT_TRUE(fs::exists(reportFolder() / "QuillonUpdateInstallerFailure.plist"));
}

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, AUsableAttemptIdentifierWritesTheAttemptsFile) {
  store().writeFailureReport("x", "org.example.App", time, "A1");

  EXPECT_FALSE(fs::exists(reportFolder() / "QuillonUpdateInstallerFailure.plist"));
  EXPECT_TRUE(fs::exists(reportFolder() / "QuillonUpdateInstallerFailure-A1.plist"));
}

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, WithoutALocationNothingIsWritten) {
  store().writeFailureReport("x", "", time, std::nullopt);

  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, AWriteErrorIsRaised) {
  testing::writeFile(folder / "file", "");

  EXPECT_THROW(
      store().writeFailureReport("x", QuillonURL::fileURL((folder / "file/r.plist").string()), time, std::nullopt),
      QuillonSystemError);
}

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, AReportIsConsumedOnce) {
  store().writeFailureReport("why", "org.example.App", time, std::nullopt);

  const auto report = store().consumeFailureReport("org.example.App", std::nullopt);

  ASSERT_TRUE(report.has_value());
  EXPECT_EQ(report->errorDescription, "why");
  EXPECT_EQ(report->failedAt, time);
  EXPECT_EQ(report->attemptIdentifier, std::nullopt);
  EXPECT_EQ(store().consumeFailureReport("org.example.App", std::nullopt), std::nullopt);
}

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, ThePreferredAttemptsReportTakesAllOtherAttemptsWithIt) {
  store().writeFailureReport("base", "org.example.App", time, std::nullopt);
  store().writeFailureReport("first", "org.example.App", time, "first");
  store().writeFailureReport("second", "org.example.App", time, "second");
  const QuillonURL base = *store().reportURL("org.example.App");
  EXPECT_EQ(store().attemptReportURLs(base).size(), 2U);

  const auto report = store().consumeFailureReport("org.example.App", "second");

  EXPECT_EQ(report->errorDescription, "second");
  EXPECT_TRUE(store().attemptReportURLs(base).empty());
  EXPECT_EQ(store().consumeFailureReport("org.example.App", "second")->errorDescription, "base");
}

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, OtherAttemptsStayWhenThePreferredOneLeftNoReport) {
  store().writeFailureReport("base", "org.example.App", time, std::nullopt);
  store().writeFailureReport("other", "org.example.App", time, "other");

  EXPECT_EQ(store().consumeFailureReport("org.example.App", "mine")->errorDescription, "base");

  EXPECT_TRUE(fs::exists(reportFolder() / "QuillonUpdateInstallerFailure-other.plist"));
}

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, GarbageIsConsumedAsAnUnknownFailureAndRemoved) {
  testing::writeFile(reportFolder() / "QuillonUpdateInstallerFailure-A1.plist", "garbage");

  const auto report = store().consumeFailureReport("org.example.App", "A1");

  EXPECT_EQ(report, (VeskAppBundleUpdateFailureReport{.errorDescription = "Unknown helper failure",
                                                      .failedAt = Store::TimePoint(std::chrono::seconds(77)),
                                                      .attemptIdentifier = "A1"}));
  EXPECT_TRUE(fs::is_empty(reportFolder()));
}

TEST_F(VeskAppBundleUpdateFailureReportStoreTest, NoFolderMeansNoReport) {
  EXPECT_EQ(store().consumeFailureReport("org.example.App", "A1"), std::nullopt);
  EXPECT_EQ(store().consumeFailureReport("", std::nullopt), std::nullopt);
  EXPECT_TRUE(store().attemptReportURLs(QuillonURL::fileURL("/nowhere/x.plist")).empty());
}

}  // namespace
}  // namespace quillon
