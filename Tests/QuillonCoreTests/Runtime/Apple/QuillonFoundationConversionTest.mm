#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"

namespace quillon {
namespace {

using Value = QuillonPropertyListValue;
using Integers = std::numeric_limits<std::int64_t>;
using namespace std::string_literals;

const std::string kText = "Grüße \0 🙂"s;

QuillonPropertyListDate dateAt(std::int64_t microseconds) {
  return QuillonPropertyListDate(std::chrono::microseconds(microseconds));
}

/// One of every kind, and those at the ends of their ranges.
Value::Dictionary everyKind() {
  return {{"array", Value(Value::Array{Value(1), Value("two"), Value(Value::Array{})})},
          {"data", Value(QuillonPropertyListData{{0, 1, 255}})},
          {"date", Value(dateAt(1'700'000'000'250'000))},
          {"dictionary", Value(Value::Dictionary{{"", Value("")}})},
          {"false", Value(false)},
          {"integer", Value(1)},
          {"largest", Value(Integers::max())},
          {"real", Value(1.0)},
          {"smallest", Value(Integers::min())},
          {"text", Value(kText)},
          {"true", Value(true)}};
}

/// `levels` arrays within each other.
Value nested(int levels) {
  Value value(Value::Array{});
  for (int level = 1; level < levels; ++level) value = Value(Value::Array{std::move(value)});
  return value;
}

NSArray* nestedArrays(int levels) {
  NSArray* array = [NSArray array];
  for (int level = 1; level < levels; ++level) array = [NSArray arrayWithObject:array];
  return array;
}

NSDictionary* entry(id value) { return [NSDictionary dictionaryWithObject:value forKey:@"key"]; }

TEST(QuillonFoundationConversionTest, ATextIsTheSameForthAndBack) {
  @autoreleasepool {
    EXPECT_EQ([toNSString(kText) length], 10U);
    EXPECT_EQ(fromNSString(toNSString(kText)), kText);
    EXPECT_EQ(fromNSString(toNSString("")), "");
  }
}

TEST(QuillonFoundationConversionTest, ATextThatIsNotUTF8IsNone) {
  @autoreleasepool {
    EXPECT_TRUE(toNSString("a\xFF") == nil);
    EXPECT_TRUE(toNSString("\xED\xA0\x80") == nil);
  }
}

TEST(QuillonFoundationConversionTest, HalfOfASurrogatePairIsNoText) {
  @autoreleasepool {
    const unichar half = 0xD83D;

    EXPECT_FALSE(fromNSString([NSString stringWithCharacters:&half length:1]));
    EXPECT_FALSE(fromNSString(nil));
  }
}

TEST(QuillonFoundationConversionTest, AFileIsItsPathWhateverCharactersThatHas) {
  @autoreleasepool {
    const QuillonURL file = QuillonURL::fileURL("/Applications/Größe 100%#?.app");

    NSURL* const url = toNSURL(file);

    EXPECT_EQ([url isFileURL], YES);
    EXPECT_EQ(fromNSString([url path]), "/Applications/Größe 100%#?.app");
    EXPECT_EQ(fromNSURL(url), file);
  }
}

TEST(QuillonFoundationConversionTest, AFolderGetsNoSlash) {
  @autoreleasepool {
    EXPECT_EQ(fromNSString([toNSURL(QuillonURL::fileURL("/usr")) absoluteString]), "file:///usr");
    EXPECT_EQ(fromNSURL([NSURL fileURLWithPath:@"/usr" isDirectory:YES]), QuillonURL::fileURL("/usr"));
  }
}

TEST(QuillonFoundationConversionTest, AnotherURLIsItsText) {
  @autoreleasepool {
    const QuillonURL url = QuillonURL::parse("https://example.com:8443/a%20feed?beta=1#top").value();

    EXPECT_EQ(fromNSString([toNSURL(url) absoluteString]), "https://example.com:8443/a%20feed?beta=1#top");
    EXPECT_EQ(fromNSURL(toNSURL(url)), url);
  }
}

TEST(QuillonFoundationConversionTest, WhatIsNoURLIsNone) {
  @autoreleasepool {
    EXPECT_FALSE(fromNSURL(nil));
    EXPECT_FALSE(fromNSURL([NSURL URLWithString:@"feed"]));
    EXPECT_TRUE(toNSURL(QuillonURL::fileURL("/a\xFF")) == nil);
  }
}

TEST(QuillonFoundationConversionTest, EveryKindOfValueIsTheSameForthAndBack) {
  @autoreleasepool {
    EXPECT_EQ(fromNSDictionary(toNSDictionary(everyKind())), everyKind());
    EXPECT_EQ(fromPropertyListObject(toPropertyListObject(Value(everyKind()))), Value(everyKind()));
  }
}

TEST(QuillonFoundationConversionTest, ValuesAreObjectsOfTheirClasses) {
  @autoreleasepool {
    NSDictionary* const objects = toNSDictionary(everyKind());

    EXPECT_EQ([[objects objectForKey:@"data"] isKindOfClass:[NSData class]], YES);
    EXPECT_EQ([[objects objectForKey:@"date"] timeIntervalSince1970], 1'700'000'000.25);
    EXPECT_EQ([[objects objectForKey:@"true"] boolValue], YES);
    EXPECT_EQ([[objects objectForKey:@"smallest"] longLongValue], Integers::min());
    EXPECT_EQ([[objects objectForKey:@"real"] doubleValue], 1.0);
  }
}

TEST(QuillonFoundationConversionTest, NumbersAreBooleansIntegersOrRealsAsTheyWereMade) {
  @autoreleasepool {
    EXPECT_EQ(fromPropertyListObject([NSNumber numberWithBool:YES]), Value(true));
    EXPECT_EQ(fromPropertyListObject([NSNumber numberWithInt:1]), Value(1));
    EXPECT_EQ(fromPropertyListObject([NSNumber numberWithFloat:1]), Value(1.0));
    EXPECT_EQ(fromPropertyListObject([NSNumber numberWithUnsignedInt:4'000'000'000]),
              Value(std::int64_t{4'000'000'000}));
  }
}

TEST(QuillonFoundationConversionTest, AnIntegerBeyondTheSignedOnesIsNone) {
  @autoreleasepool {
    constexpr auto kEnd = static_cast<unsigned long long>(Integers::max());

    EXPECT_EQ(fromPropertyListObject([NSNumber numberWithUnsignedLongLong:kEnd]), Value(Integers::max()));
    EXPECT_FALSE(fromPropertyListObject([NSNumber numberWithUnsignedLongLong:kEnd + 1]));
  }
}

TEST(QuillonFoundationConversionTest, DatesAreRoundedToMicroseconds) {
  @autoreleasepool {
    EXPECT_EQ(fromPropertyListObject([NSDate dateWithTimeIntervalSince1970:-0.5]), Value(dateAt(-500'000)));
    EXPECT_EQ(fromPropertyListObject([NSDate dateWithTimeIntervalSince1970:0.0000016]), Value(dateAt(2)));
  }
}

TEST(QuillonFoundationConversionTest, ADateBeyondMicrosecondsIsNone) {
  @autoreleasepool {
    EXPECT_FALSE(fromPropertyListObject([NSDate dateWithTimeIntervalSince1970:1e13]));
    EXPECT_FALSE(fromPropertyListObject([NSDate dateWithTimeIntervalSince1970:-1e13]));
  }
}

TEST(QuillonFoundationConversionTest, ATextThatIsNotUTF8MakesTheWholeNone) {
  @autoreleasepool {
    EXPECT_TRUE(toPropertyListObject(Value(Value::Array{Value(1), Value("\xFF")})) == nil);
    EXPECT_TRUE(toNSDictionary({{"\xFF", Value(1)}}) == nil);
    EXPECT_TRUE(toNSDictionary({{"key", Value("\xFF")}}) == nil);
  }
}

TEST(QuillonFoundationConversionTest, AnythingElseWithinMakesTheWholeNone) {
  @autoreleasepool {
    EXPECT_FALSE(fromPropertyListObject([NSNull null]));
    EXPECT_FALSE(fromNSDictionary(entry([NSNull null])));
    EXPECT_FALSE(fromNSDictionary(entry([NSArray arrayWithObject:[NSNull null]])));
    EXPECT_FALSE(fromNSDictionary([NSDictionary dictionaryWithObject:@"value" forKey:[NSNumber numberWithInt:1]]));
    EXPECT_FALSE(fromNSDictionary(nil));
  }
}

TEST(QuillonFoundationConversionTest, WhatIsNestedTooDeepIsNone) {
  @autoreleasepool {
    const int deepest = kDeepestFoundationConversion + 1;  // the outermost has depth 0

    EXPECT_TRUE(toPropertyListObject(nested(deepest)) != nil);
    EXPECT_TRUE(toPropertyListObject(nested(deepest + 1)) == nil);
    EXPECT_TRUE(fromPropertyListObject(nestedArrays(deepest)));
    EXPECT_FALSE(fromPropertyListObject(nestedArrays(deepest + 1)));
  }
}

}  // namespace
}  // namespace quillon
