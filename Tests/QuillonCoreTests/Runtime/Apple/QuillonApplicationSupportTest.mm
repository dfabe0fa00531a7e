#import <Foundation/Foundation.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"

namespace quillon {
namespace {

TEST(QuillonApplicationSupportTest, ItIsOneFolderInTheHomeOfTheUser) {
  const std::vector<QuillonURL> folders = systemApplicationSupportDirectories();

  ASSERT_EQ(folders.size(), 1U);
  @autoreleasepool {
    EXPECT_THAT(folders.front().path(), ::testing::StartsWith(fromNSString(NSHomeDirectory()).value() + "/"));
    EXPECT_THAT(folders.front().path(), ::testing::MatchesRegex(".*/Library/Application ?Support"));
  }
}

}  // namespace
}  // namespace quillon
