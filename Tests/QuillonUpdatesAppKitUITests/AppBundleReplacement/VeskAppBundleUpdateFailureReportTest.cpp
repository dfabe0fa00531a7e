#include <gtest/gtest.h>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReport.h"

namespace quillon {
namespace {

using std::chrono::microseconds;
using std::chrono::sys_time;

TEST(VeskAppBundleUpdateFailureReportTest, IsABinaryPropertyListThatReadsBackAsItself) {
  const VeskAppBundleUpdateFailureReport report{.errorDescription = "relaunchFailed",
                                                .failedAt = sys_time<microseconds>(microseconds(1'700'000'000'500'000)),
                                                .attemptIdentifier = "A-1"};

  EXPECT_TRUE(report.encoded().starts_with("bplist00"));
  EXPECT_EQ(VeskAppBundleUpdateFailureReport::decoded(report.encoded()), report);
}

TEST(VeskAppBundleUpdateFailureReportTest, WithoutAttemptThereIsNoSuchKey) {
  const VeskAppBundleUpdateFailureReport report{
      .errorDescription = "x", .failedAt = {}, .attemptIdentifier = std::nullopt};

  EXPECT_EQ(readPropertyList(report.encoded()).find("attemptIdentifier"), nullptr);
  EXPECT_EQ(VeskAppBundleUpdateFailureReport::decoded(report.encoded()), report);
}

TEST(VeskAppBundleUpdateFailureReportTest, AnyPropertyListFormatIsRead) {
  const auto report = VeskAppBundleUpdateFailureReport::decoded(
      "<plist version=\"1.0\"><dict><key>errorDescription</key><string>x</string><key>failedAt</key>"
      "<date>1970-01-01T00:00:01Z</date></dict></plist>");

  EXPECT_EQ(report.errorDescription, "x");
  EXPECT_EQ(report.failedAt, sys_time<microseconds>(std::chrono::seconds(1)));
}

TEST(VeskAppBundleUpdateFailureReportTest, WhatIsNoReportIsRefused) {
  for (const char* text :
       {"garbage", "<plist version=\"1.0\"><array/></plist>",
        "<plist version=\"1.0\"><dict><key>errorDescription</key><string>x</string></dict></plist>",
        "<plist version=\"1.0\"><dict><key>failedAt</key><date>1970-01-01T00:00:01Z</date></dict></plist>",
        "<plist version=\"1.0\"><dict><key>errorDescription</key><string>x</string><key>failedAt</key>"
        "<date>1970-01-01T00:00:01Z</date><key>attemptIdentifier</key><true/></dict></plist>"}) {
    EXPECT_THROW((void)VeskAppBundleUpdateFailureReport::decoded(text), QuillonError) << text;
  }
}

}  // namespace
}  // namespace quillon
