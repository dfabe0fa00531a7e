#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementCandidate.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/FaultInjectingFileManager.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::makeApplicationBundle;
using testing::versionOfApplicationBundle;
using Candidate = VeskAppBundleReplacementCandidate;

class VeskAppBundleReplacementCandidateTest : public ::testing::Test {
 protected:
  VeskAppBundleReplacementCandidateTest() {
    makeApplicationBundle(staged, {.version = "2.0"});
    fs::create_directory(folder / "Applications");
  }
  [[nodiscard]] Candidate copy() const {
    return Candidate::copiedBeside(files, QuillonURL::fileURL(staged.string()),
                                   QuillonURL::fileURL((folder / "Applications/Example.app").string()));
  }

  testing::TemporaryDirectory folder;
  fs::path staged = folder / "Staging/Example.app";
  std::shared_ptr<testing::FaultInjectingFileManager> files =
      std::make_shared<testing::FaultInjectingFileManager>(std::make_shared<QuillonPosixFileManager>());
};

TEST_F(VeskAppBundleReplacementCandidateTest, InPlaceIsTheStagedBundleItself) {
  const Candidate candidate = Candidate::inPlace(files, QuillonURL::fileURL(staged.string()));

  EXPECT_FALSE(candidate.isCopy());
  EXPECT_EQ(candidate.url().path(), staged.string());
  EXPECT_EQ(candidate.identity(), files->itemStatus(candidate.url())->identity);
}

TEST_F(VeskAppBundleReplacementCandidateTest, ACopyIsCompleteClosedToOthersAndGoneAtTheEnd) {
  {
    const Candidate candidate = copy();

    EXPECT_TRUE(candidate.isCopy());
    EXPECT_EQ(versionOfApplicationBundle(candidate.url().path()), "2.0");
    const fs::path work = fs::directory_iterator(folder / "Applications")->path();
    EXPECT_EQ(fs::status(work).permissions(), fs::perms(0700));
  }

  EXPECT_TRUE(fs::is_empty(folder / "Applications"));
  EXPECT_EQ(versionOfApplicationBundle(staged), "2.0");
}

TEST_F(VeskAppBundleReplacementCandidateTest, AFailedCopyLeavesNothing) {
  files->failChange(2, ENOSPC);

  EXPECT_THROW((void)copy(), QuillonSystemError);

  EXPECT_TRUE(fs::is_empty(folder / "Applications"));
}

TEST_F(VeskAppBundleReplacementCandidateTest, TheStagedOriginalGoesWithItsEmptyFolder) {
  copy().removeStagedRemains();

  EXPECT_FALSE(fs::exists(folder / "Staging"));
}

TEST_F(VeskAppBundleReplacementCandidateTest, SomethingElseInTheOriginalsPlaceStays) {
  const Candidate candidate = copy();
  fs::rename(staged, folder / "moved.app");
  makeApplicationBundle(staged, {.version = "3.0"});

  candidate.removeStagedRemains();

  EXPECT_EQ(versionOfApplicationBundle(staged), "3.0");
}

TEST_F(VeskAppBundleReplacementCandidateTest, AMissingStagedBundleIsAnError) {
  EXPECT_THROW((void)Candidate::inPlace(files, QuillonURL::fileURL((folder / "none.app").string())), QuillonError);
}

}  // namespace
}  // namespace quillon
