#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"

namespace quillon {
namespace {

TEST(QuillonApplicationSupportTest, ItIsOneFolderInTheHomeOfTheUser) {
  unsetenv("XDG_DATA_HOME");

  const std::vector<QuillonURL> folders = systemApplicationSupportDirectories();

  ASSERT_EQ(folders.size(), 1U);
  EXPECT_THAT(folders.front().path(), ::testing::EndsWith("/.local/share"));
}

}  // namespace
}  // namespace quillon
