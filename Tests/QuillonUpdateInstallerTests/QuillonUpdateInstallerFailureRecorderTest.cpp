#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdateInstaller/QuillonUpdateInstallerFailureRecorder.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReport.h"
#include "Support/ReplacementWorld.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::writeFile;

class RelocatedFileManager final : public QuillonPosixFileManager {
 public:
  [[nodiscard]] std::vector<QuillonURL> applicationSupportDirectories() const override { return folders; }
  std::vector<QuillonURL> folders;
};

class QuillonUpdateInstallerFailureRecorderTest : public ::testing::Test {
 protected:
  void record() const {
    const QuillonUpdateInstallerFailureRecorder recorder(files, privilege, [this] { return time; });
    recorder.recordFailureReportIfPossible("why", arguments);
  }
  [[nodiscard]] static VeskAppBundleUpdateFailureReport reportAt(const fs::path& file) {
    return VeskAppBundleUpdateFailureReport::decoded(readFile(file));
  }
  [[nodiscard]] static uid_t ownerOf(const fs::path& file) {
    struct stat status {};
    EXPECT_EQ(lstat(file.c_str(), &status), 0);
    return status.st_uid;
  }
  void useReportURL() { arguments->failureReportURL = QuillonURL::fileURL(report.string()); }
  void useLaunchUser() { arguments->launchUserContext = VeskAppBundleLaunchdUserContext{1234, 2345, "ann", "/h"}; }

  testing::TemporaryDirectory folder;
  fs::path report = folder / "reports/QuillonUpdateInstallerFailure.plist";
  std::shared_ptr<RelocatedFileManager> files = std::make_shared<RelocatedFileManager>();
  std::shared_ptr<testing::FakePrivilegeChecker> privilege = std::make_shared<testing::FakePrivilegeChecker>();
  std::optional<QuillonUpdateInstallerArguments> arguments = QuillonUpdateInstallerArguments::parse(
      {"--staged-app", "/s/A.app", "--installed-app", "/i/A.app", "--host-pid", "0", "--bundle-id", "org.example.App",
       "--app-version", "1.0", "--app-build", "1", "--allows-same-build-replacement", "0"});
  const QuillonUpdateInstallerFailureRecorder::TimePoint time{std::chrono::seconds(9)};
};

TEST_F(QuillonUpdateInstallerFailureRecorderTest, WithoutArgumentsNothingIsRecorded) {
  arguments.reset();

  record();

  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, TheReportSaysWhatFailedWhenAndInWhichAttempt) {
  useReportURL();
  arguments->failureReportAttemptIdentifier = "A1";

  record();

  EXPECT_EQ(reportAt(folder / "reports/QuillonUpdateInstallerFailure-A1.plist"),
            (VeskAppBundleUpdateFailureReport{.errorDescription = "why", .failedAt = time, .attemptIdentifier = "A1"}));
  EXPECT_FALSE(fs::exists(report));
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, WithoutAPathItLiesInTheUsersOwnFolder) {
  files->folders = {QuillonURL::fileURL(folder.path().string())};

  record();

  EXPECT_EQ(reportAt(folder / "org.example.App/SeamlessInstaller/QuillonUpdateInstallerFailure.plist").errorDescription,
            "why");
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, WithoutAPathAndAFolderNothingIsWritten) {
  record();

  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, TheReportAtTheGivenPathBecomesTheLaunchUsers) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  useReportURL();
  useLaunchUser();
  privilege->answer = true;

  record();

  EXPECT_EQ(ownerOf(report), 1234U);
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, OnlyTheGivenPathItselfChangesItsOwnerNotTheAttemptsFile) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  useReportURL();
  record();
  useLaunchUser();
  privilege->answer = true;
  arguments->failureReportAttemptIdentifier = "A1";

  record();

  EXPECT_EQ(ownerOf(report), 1234U);
  EXPECT_EQ(ownerOf(folder / "reports/QuillonUpdateInstallerFailure-A1.plist"), 0U);
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, APrivilegedInstallerGivesAwayNothingButReports) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  useReportURL();
  useLaunchUser();
  privilege->answer = true;
  arguments->failureReportAttemptIdentifier = "A1";
  writeFile(report, "root:x:0:0");

  record();

  EXPECT_EQ(ownerOf(report), 0U);
  EXPECT_EQ(readFile(report), "root:x:0:0");
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, APrivilegedInstallerReplacesNothingButReportsAndTheUsersFiles) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  useReportURL();
  useLaunchUser();
  privilege->answer = true;
  writeFile(report, "root:x:0:0");

  EXPECT_THROW(record(), QuillonSystemError);
  EXPECT_EQ(readFile(report), "root:x:0:0");

  ASSERT_EQ(chown(report.c_str(), 1234, 2345), 0);
  record();
  EXPECT_EQ(reportAt(report).errorDescription, "why");
  record();
  EXPECT_EQ(reportAt(report).errorDescription, "why");
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, WithoutALaunchUserOnlyReportsAreReplaced) {
  useReportURL();
  privilege->answer = true;
  writeFile(report, "root:x:0:0");

  EXPECT_THROW(record(), QuillonSystemError);

  EXPECT_EQ(readFile(report), "root:x:0:0");
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, ALaunchUserThatIsRootOwnsNothingThatMayBeReplaced) {
  useReportURL();
  useLaunchUser();
  arguments->launchUserContext->userIdentifier = 0;
  privilege->answer = true;
  writeFile(report, "root:x:0:0");

  EXPECT_THROW(record(), QuillonSystemError);

  EXPECT_EQ(readFile(report), "root:x:0:0");
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, APrivilegedInstallerMakesNoFileThatSomethingMightRun) {
  report = folder / "profile.d/evil.sh";
  useReportURL();
  useLaunchUser();
  privilege->answer = true;

  EXPECT_THROW(record(), QuillonSystemError);

  EXPECT_FALSE(fs::exists(report));
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, ALinkInAFolderOfTheUserLeadsNowhere) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  fs::create_directory(folder / "home");
  fs::create_directory(folder / "victim");
  fs::create_directory_symlink(folder / "victim", folder / "home/reports");
  ASSERT_EQ(lchown((folder / "home").c_str(), 1234, 2345), 0);
  ASSERT_EQ(lchown((folder / "home/reports").c_str(), 1234, 2345), 0);
  report = folder / "home/reports/QuillonUpdateInstallerFailure.plist";
  useReportURL();
  useLaunchUser();
  privilege->answer = true;

  EXPECT_THROW(record(), QuillonSystemError);

  EXPECT_TRUE(fs::is_empty(folder / "victim"));
}

TEST_F(QuillonUpdateInstallerFailureRecorderTest, FoldersMadeInAUsersFolderAreTheUsers) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  fs::create_directory(folder / "home");
  ASSERT_EQ(lchown((folder / "home").c_str(), 1234, 2345), 0);
  report = folder / "home/a/b/QuillonUpdateInstallerFailure.plist";
  useReportURL();
  useLaunchUser();
  privilege->answer = true;

  record();

  EXPECT_EQ(ownerOf(folder / "home/a"), 1234U);
  EXPECT_EQ(ownerOf(folder / "home/a/b"), 1234U);
  EXPECT_EQ(ownerOf(report), 1234U);
}

}  // namespace
}  // namespace quillon
