#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Posix/AtomicFilePlacement.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::writeFile;

class AtomicFilePlacementTest : public ::testing::Test {
 protected:
  [[nodiscard]] QuillonURL file() const { return QuillonURL::fileURL((folder_ / "archive.zip").string()); }

  const testing::TemporaryDirectory folder_;
};

TEST_F(AtomicFilePlacementTest, AFinishedFileReplacesWhatWasThere) {
  writeFile(folder_ / "archive.zip", "older");
  AtomicFilePlacement placement(file());
  const FileDescriptor made = placement.create();
  ASSERT_EQ(write(made.get(), "abc", 3), 3);
  EXPECT_EQ(readFile(folder_ / "archive.zip"), "older");

  placement.finish();

  EXPECT_EQ(readFile(folder_ / "archive.zip"), "abc");
  EXPECT_FALSE(fs::exists(folder_ / placement.scratchName()));
  struct stat status {};
  ASSERT_EQ(stat((folder_ / "archive.zip").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, S_IFREG | 0644U) << "whatever the umask says";
}

TEST_F(AtomicFilePlacementTest, AFileThatIsNotFinishedIsRemoved) {
  writeFile(folder_ / "archive.zip", "older");
  {
    const AtomicFilePlacement placement(file());
    (void)placement.create();
    ASSERT_TRUE(fs::exists(folder_ / placement.scratchName()));
  }

  EXPECT_EQ(readFile(folder_ / "archive.zip"), "older");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 1);
}

TEST_F(AtomicFilePlacementTest, AFolderInItsPlaceIsAnErrorAndStays) {
  fs::create_directory(folder_ / "archive.zip");
  AtomicFilePlacement placement(file());
  (void)placement.create();

  try {
    placement.finish();
    ADD_FAILURE() << "the folder was replaced";
  } catch (const QuillonSystemError& error) {
    EXPECT_TRUE(error.isPOSIX(EISDIR)) << error.description();
  }

  EXPECT_TRUE(fs::is_directory(folder_ / "archive.zip"));
}

}  // namespace
}  // namespace quillon
