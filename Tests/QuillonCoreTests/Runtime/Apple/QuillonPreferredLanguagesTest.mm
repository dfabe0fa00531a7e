#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonCore/Runtime/QuillonPreferredLanguages.h"

namespace quillon {
namespace {

TEST(QuillonPreferredLanguagesTest, TheyAreThoseOfTheSystemTheBestOneFirst) {
  const std::vector<std::string> languages = preferredLanguages();

  ASSERT_FALSE(languages.empty());
  @autoreleasepool {
    NSArray* const expected = [NSLocale preferredLanguages];
    ASSERT_EQ(languages.size(), [expected count]);
    for (NSUInteger i = 0; i < languages.size(); ++i) {
      EXPECT_EQ(languages[i], fromNSString([expected objectAtIndex:i]));
    }
  }
}

}  // namespace
}  // namespace quillon
