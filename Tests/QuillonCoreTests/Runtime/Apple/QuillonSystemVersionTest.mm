#import <Foundation/Foundation.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonCore/Values/QuillonSystemVersion.h"

namespace quillon {
namespace {

TEST(QuillonSystemVersionTest, RunningIsWhatTheSystemSaysOfItself) {
  const QuillonSystemVersion version = QuillonSystemVersion::running();

  @autoreleasepool {
    const auto text = fromNSString([[NSProcessInfo processInfo] operatingSystemVersionString]).value();
    EXPECT_THAT(text, ::testing::HasSubstr(std::to_string(version.major) + "." + std::to_string(version.minor)));
  }
}

}  // namespace
}  // namespace quillon
