#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateByteCountFormatting.h"

namespace quillon {
namespace {

TEST(VeskUpdateByteCountFormattingTest, SizesAreThoseOfFilesWithPaddedFractionDigits) {
  EXPECT_EQ(systemFormattedByteCount(1'500'000, "en"), "1.5 MB");
  EXPECT_EQ(systemFormattedByteCount(2'000'000'000, "en"), "2.00 GB");
}

}  // namespace
}  // namespace quillon
