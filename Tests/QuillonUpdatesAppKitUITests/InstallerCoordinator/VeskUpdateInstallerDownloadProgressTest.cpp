#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadProgress.h"

namespace quillon {
namespace {

using Progress = VeskUpdateInstallerDownloadProgress;

TEST(VeskUpdateInstallerDownloadProgressTest, TheFractionIsTheReceivedShare) {
  EXPECT_EQ((Progress{.bytesReceived = 0, .expectedBytes = 8}.progressFraction()), 0.0);
  EXPECT_EQ((Progress{.bytesReceived = 2, .expectedBytes = 8}.progressFraction()), 0.25);
  EXPECT_EQ((Progress{.bytesReceived = 8, .expectedBytes = 8}.progressFraction()), 1.0);
}

TEST(VeskUpdateInstallerDownloadProgressTest, AnUnknownTotalHasNoFraction) {
  EXPECT_EQ((Progress{.bytesReceived = 5}.progressFraction()), std::nullopt);
}

TEST(VeskUpdateInstallerDownloadProgressTest, ATotalBelowOneByteHasNoFraction) {
  EXPECT_EQ((Progress{.bytesReceived = 5, .expectedBytes = 0}.progressFraction()), std::nullopt);
  EXPECT_EQ((Progress{.bytesReceived = 5, .expectedBytes = -1}.progressFraction()), std::nullopt);
}

TEST(VeskUpdateInstallerDownloadProgressTest, MoreBytesThanAnnouncedAreAFullBar) {
  EXPECT_EQ((Progress{.bytesReceived = 9, .expectedBytes = 8}.progressFraction()), 1.0);
}

TEST(VeskUpdateInstallerDownloadProgressTest, ACountBelowZeroIsAnEmptyBar) {
  EXPECT_EQ((Progress{.bytesReceived = -9, .expectedBytes = 8}.progressFraction()), 0.0);
}

}  // namespace
}  // namespace quillon
