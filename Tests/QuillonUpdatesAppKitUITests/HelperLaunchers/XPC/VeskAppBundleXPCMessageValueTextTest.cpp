#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageValueText.h"

namespace quillon {
namespace {

using Value = QuillonPropertyListValue;

TEST(VeskAppBundleXPCMessageValueTextTest, NamesKindAndValue) {
  EXPECT_EQ(xpcMessageValueText(Value("+42 ")), "string \"+42 \"");
  EXPECT_EQ(xpcMessageValueText(Value("")), "string \"\"");
  EXPECT_EQ(xpcMessageValueText(Value(-1)), "integer -1");
  EXPECT_EQ(xpcMessageValueText(Value(true)), "Boolean true");
  EXPECT_EQ(xpcMessageValueText(Value(false)), "Boolean false");
  EXPECT_EQ(xpcMessageValueText(Value(1.5)), "real 1.5");
  EXPECT_EQ(xpcMessageValueText(Value(-1.7976931348623157e308)), "real -1.7976931348623157e+308");
}

TEST(VeskAppBundleXPCMessageValueTextTest, NamesTheSizeOfContainersAndData) {
  EXPECT_EQ(xpcMessageValueText(Value(Value::Array{Value(1), Value(2)})), "array of 2");
  EXPECT_EQ(xpcMessageValueText(Value(Value::Dictionary{{"a", Value(1)}})), "dictionary of 1");
  EXPECT_EQ(xpcMessageValueText(Value(QuillonPropertyListData{{1, 2, 3}})), "data of 3 bytes");
  EXPECT_EQ(xpcMessageValueText(Value(QuillonPropertyListDate(std::chrono::seconds(0)))), "date");
}

TEST(VeskAppBundleXPCMessageValueTextTest, CutsALongStringBetweenCharacters) {
  EXPECT_EQ(xpcMessageValueText(Value(std::string(80, 'a'))), "string \"" + std::string(80, 'a') + "\"");
  EXPECT_EQ(xpcMessageValueText(Value(std::string(81, 'a'))), "string \"" + std::string(80, 'a') + "\"… (81 bytes)");
  EXPECT_EQ(xpcMessageValueText(Value(std::string(79, 'a') + "ä" + "b")),
            "string \"" + std::string(79, 'a') + "\"… (82 bytes)");
}

}  // namespace
}  // namespace quillon
