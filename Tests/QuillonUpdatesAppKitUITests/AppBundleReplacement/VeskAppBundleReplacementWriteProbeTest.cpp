#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <memory>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementWriteProbe.h"
#include "Support/FaultInjectingFileManager.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

class VeskAppBundleReplacementWriteProbeTest : public ::testing::Test {
 protected:
  [[nodiscard]] bool probe() const {
    return VeskAppBundleReplacementWriteProbe(files).destinationParentIsWritable(
        QuillonURL::fileURL((folder / "Example.app").string()));
  }

  testing::TemporaryDirectory folder;
  std::shared_ptr<testing::FaultInjectingFileManager> files =
      std::make_shared<testing::FaultInjectingFileManager>(std::make_shared<QuillonPosixFileManager>());
};

TEST_F(VeskAppBundleReplacementWriteProbeTest, AWritableFolderAnswersTrueAndHoldsNothingAfterwards) {
  EXPECT_TRUE(probe());
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(VeskAppBundleReplacementWriteProbeTest, AFolderThatCannotBeWrittenAnswersFalseAndHoldsNothingAfterwards) {
  files->failChange(1, EACCES);

  EXPECT_FALSE(probe());
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(VeskAppBundleReplacementWriteProbeTest, AProbeThatCannotBeRemovedStillAnswersTrue) {
  files->failChange(2, EIO);

  EXPECT_TRUE(probe());
  EXPECT_TRUE(fs::directory_iterator(folder.path())->path().filename().string().starts_with("vesk-update-write-"));
}

TEST_F(VeskAppBundleReplacementWriteProbeTest, AMissingFolderAnswersFalse) {
  EXPECT_FALSE(VeskAppBundleReplacementWriteProbe(files).destinationParentIsWritable(
      QuillonURL::fileURL((folder / "none/Example.app").string())));
}

}  // namespace
}  // namespace quillon
