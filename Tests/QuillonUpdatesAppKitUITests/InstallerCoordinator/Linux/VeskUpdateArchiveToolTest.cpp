#include <gtest/gtest.h>

#include <filesystem>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateArchiveTool.h"

namespace quillon {
namespace {

TEST(VeskUpdateArchiveToolTest, TheToolIsThisSystemsOwnByAbsolutePath) {
  const std::filesystem::path tool = systemArchiveToolPath();

  EXPECT_TRUE(tool.is_absolute());
  EXPECT_EQ(tool.filename(), "quillon-ditto");
}

}  // namespace
}  // namespace quillon
