#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Linux/VeskUpdateInstallerDownloadFile.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"
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

TEST(VeskUpdateInstallerDownloadBufferTest, WithoutAFolderMemoryIsUsed) {
  EXPECT_NE(dynamic_cast<VeskUpdateInstallerDownloadMemory*>(makeSystemDownloadBuffer({kMissing}).get()), nullptr);
  EXPECT_NE(dynamic_cast<VeskUpdateInstallerDownloadMemory*>(makeSystemDownloadBuffer({}).get()), nullptr);
}

}  // namespace
}  // namespace quillon
