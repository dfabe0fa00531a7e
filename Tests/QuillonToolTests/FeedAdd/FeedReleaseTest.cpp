#include <gtest/gtest.h>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/FeedAdd/FeedRelease.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

class FeedReleaseTest : public ::testing::Test {
 protected:
  [[nodiscard]] FeedRelease read() const {
    return readFeedRelease(QuillonURL::fileURL(bundle_.string()), *makeSystemFileManager());
  }

  const testing::TemporaryDirectory folder_;
  const std::filesystem::path bundle_ = folder_ / "Example.app";
};

TEST_F(FeedReleaseTest, IsWhatTheBundleSaysOfItself) {
  testing::makeApplicationBundle(bundle_, {.version = "3.0", .build = "300", .minimumSystemVersion = "14.2"});

  const FeedRelease release = read();

  EXPECT_EQ(release.version, "3.0");
  EXPECT_EQ(release.build, "300");
  EXPECT_EQ(release.minimumSystemVersion, "14.2");
}

TEST_F(FeedReleaseTest, TheMinimumSystemMayBeMissing) {
  testing::makeApplicationBundle(bundle_);
  EXPECT_EQ(read().minimumSystemVersion, std::nullopt);
}

TEST_F(FeedReleaseTest, ABundleWithoutVersionIsRefusedAndSoIsNone) {
  EXPECT_THROW((void)read(), QuillonError);
  testing::makeApplicationBundle(bundle_, {.version = ""});
  EXPECT_THROW((void)read(), QuillonError);
}

}  // namespace
}  // namespace quillon
