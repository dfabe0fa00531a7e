#include <gtest/gtest.h>

#include <filesystem>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Linux/VeskUpdateInstallerDownloadFile.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"
#include "Support/ScopedMount.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

const QuillonURL kMissing = QuillonURL::fileURL("/missing/folder");

TEST(VeskUpdateInstallerDownloadBufferTest, TheFirstFolderThatTakesAFileIsUsed) {
  const testing::TemporaryDirectory folder;
  const QuillonURL present = QuillonURL::fileURL(folder.path().string());
  if (!VeskUpdateInstallerDownloadFile::make(present)) GTEST_SKIP() << "the volume has no files without names";

  const auto buffer = makeSystemDownloadBuffer({kMissing, present});

  EXPECT_NE(dynamic_cast<VeskUpdateInstallerDownloadFile*>(buffer.get()), nullptr);
}

TEST(VeskUpdateInstallerDownloadBufferTest, AFolderThatIsTooFullIsFollowedByTheNext) {
  const testing::TemporaryDirectory folder;
  const std::filesystem::path full = folder / "full";
  std::filesystem::create_directory(full);
  const testing::ScopedMount volume(full, "size=64k");
  if (!volume) GTEST_SKIP() << "no volume can be mounted here";
  const auto buffer =
      makeSystemDownloadBuffer({QuillonURL::fileURL(full.string()), QuillonURL::fileURL(folder.path().string())});

  buffer->reserve(1'000'000);
  buffer->append("abc", {});
  buffer->writeAtomically(QuillonPosixFileManager(), QuillonURL::fileURL((folder / "a.zip").string()), {});

  EXPECT_EQ(buffer->size(), 3U);
  EXPECT_EQ(testing::readFile(folder / "a.zip"), "abc");
}

TEST(VeskUpdateInstallerDownloadBufferTest, WithoutAFolderMemoryIsUsed) {
  EXPECT_NE(dynamic_cast<VeskUpdateInstallerDownloadMemory*>(makeSystemDownloadBuffer({kMissing}).get()), nullptr);
  EXPECT_NE(dynamic_cast<VeskUpdateInstallerDownloadMemory*>(makeSystemDownloadBuffer({}).get()), nullptr);
}

}  // namespace
}  // namespace quillon
