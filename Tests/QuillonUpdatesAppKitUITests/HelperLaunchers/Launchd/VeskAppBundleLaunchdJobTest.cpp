#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJob.h"

namespace quillon {
namespace {

TEST(VeskAppBundleLaunchdJobTest, DictionaryHasExactlyTheSevenEntries) {
  const VeskAppBundleLaunchdJob job{.label = "org.example.App.quillon-updater",
                                    .domain = VeskAppBundleLaunchdJobDomain::system,
                                    .programArguments = {"/opt/installer", "--x", ""}};

  const QuillonPropertyListValue::Dictionary expected = {
      {"Label", QuillonPropertyListValue("org.example.App.quillon-updater")},
      {"ProgramArguments",
       QuillonPropertyListValue(QuillonPropertyListValue::Array{
           QuillonPropertyListValue("/opt/installer"), QuillonPropertyListValue("--x"), QuillonPropertyListValue("")})},
      {"EnableTransactions", QuillonPropertyListValue(false)},
      {"RunAtLoad", QuillonPropertyListValue(true)},
      {"Nice", QuillonPropertyListValue(0)},
      {"ProcessType", QuillonPropertyListValue("Interactive")},
      {"LaunchOnlyOnce", QuillonPropertyListValue(true)},
  };
  EXPECT_EQ(job.launchdDictionary(), expected);
}

TEST(VeskAppBundleLaunchdJobTest, JobsAreEqualByLabelDomainAndArguments) {
  const VeskAppBundleLaunchdJob job{.label = "a", .domain = {}, .programArguments = {"/b"}};
  VeskAppBundleLaunchdJob other = job;
  EXPECT_EQ(other, job);

  other.domain = VeskAppBundleLaunchdJobDomain::system;
  EXPECT_NE(other, job);
}

}  // namespace
}  // namespace quillon
