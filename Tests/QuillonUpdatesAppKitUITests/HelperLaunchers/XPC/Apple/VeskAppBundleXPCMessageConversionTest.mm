#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCMessageConversion.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace quillon {
namespace {

TEST(VeskAppBundleXPCMessageConversionTest, ValuesKeepTheirKinds) {
  @autoreleasepool {
    NSDictionary* const message =
        [NSDictionary dictionaryWithObjectsAndKeys:@"org.example.App", @"bundleIdentifier",
                                                   [NSNumber numberWithBool:YES], @"allowsSameBuildReplacement",
                                                   [NSNumber numberWithLongLong:1], @"applicationBuild", nil];

    EXPECT_EQ(receivedXPCMessage(message),
              (QuillonPropertyListValue::Dictionary{{"bundleIdentifier", QuillonPropertyListValue("org.example.App")},
                                                    {"allowsSameBuildReplacement", QuillonPropertyListValue(true)},
                                                    {"applicationBuild", QuillonPropertyListValue(std::int64_t{1})}}));
  }
}

TEST(VeskAppBundleXPCMessageConversionTest, WhatIsNoPropertyListCountsAsEmpty) {
  @autoreleasepool {
    NSDictionary* const foreign = [NSDictionary dictionaryWithObject:[NSNull null] forKey:@"result"];
    NSDictionary* const withoutTextAsKey = [NSDictionary dictionaryWithObject:@"launched"
                                                                       forKey:[NSNumber numberWithInt:1]];

    EXPECT_TRUE(receivedXPCMessage(foreign).empty());
    EXPECT_TRUE(receivedXPCMessage(withoutTextAsKey).empty());
    EXPECT_TRUE(receivedXPCMessage(nil).empty());
  }
}

}  // namespace
}  // namespace quillon
