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

TEST(VeskAppBundleXPCMessageConversionTest, AValueThatCannotBeConvertedIsThereWithoutAType) {
  using Value = QuillonPropertyListValue;
  @autoreleasepool {
    NSArray* const foreignWithin = [NSArray arrayWithObjects:@"TEAM", [NSNull null], nil];
    NSDictionary* const message =
        [NSDictionary dictionaryWithObjectsAndKeys:@"launched", @"result", [NSNull null], @"launchUserName",
                                                   foreignWithin, @"expectedTeamIdentifier", nil];

    EXPECT_EQ(receivedXPCMessage(message), (Value::Dictionary{{"result", Value("launched")},
                                                              {"launchUserName", Value(Value::Array{})},
                                                              {"expectedTeamIdentifier", Value(Value::Array{})}}));
  }
}

TEST(VeskAppBundleXPCMessageConversionTest, WhatHasAnotherKeyThanTextCountsAsEmpty) {
  @autoreleasepool {
    NSDictionary* const message = [NSDictionary
        dictionaryWithObjectsAndKeys:@"launched", @"result", @"launched", [NSNumber numberWithInt:1], nil];

    EXPECT_TRUE(receivedXPCMessage(message).empty());
    EXPECT_TRUE(receivedXPCMessage(nil).empty());
  }
}

}  // namespace
}  // namespace quillon
