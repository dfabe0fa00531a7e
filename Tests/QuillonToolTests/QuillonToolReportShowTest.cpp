#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "QuillonTool/QuillonToolReportShow.h"
#include "QuillonToolTests/ToolRun.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReport.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::ToolResult;

class QuillonToolReportShowTest : public ::testing::Test {
 protected:
  ToolResult show(const std::string& content, const std::vector<std::string>& options = {}) const {
    testing::writeFile(file_, content);
    std::vector<std::string> words = {"report", "show", file_.string()};
    words.insert(words.end(), options.begin(), options.end());
    return testing::ToolRun()(words);
  }

  const testing::TemporaryDirectory folder_;
  const std::filesystem::path file_ = folder_ / "report.plist";
  VeskAppBundleUpdateFailureReport report_{
      .errorDescription = "destinationNotWritable",
      .failedAt = std::chrono::sys_days(std::chrono::year(2024) / 2 / 29) + 23h + 59min + 58s + 900ms,
      .attemptIdentifier = "A-1"};
};

TEST_F(QuillonToolReportShowTest, ShowsDescriptionTimeAndAttempt) {
  EXPECT_EQ(show(report_.encoded()),
            (ToolResult{.status = 0,
                        .output = "Description: destinationNotWritable\nTime: 2024-02-29T23:59:58Z\nAttempt: A-1\n"}));
}

TEST_F(QuillonToolReportShowTest, AnswersInJSON) {
  EXPECT_EQ(show(report_.encoded(), {"--json"}).output,
            "{\"errorDescription\":\"destinationNotWritable\",\"failedAt\":\"2024-02-29T23:59:58Z\","
            "\"attemptIdentifier\":\"A-1\"}\n");
}

TEST_F(QuillonToolReportShowTest, AReportMayHaveNoAttempt) {
  report_.attemptIdentifier = std::nullopt;

  EXPECT_THAT(show(report_.encoded()).output, HasSubstr("\nAttempt: none\n"));
  EXPECT_THAT(show(report_.encoded(), {"--json"}).output, HasSubstr(",\"attemptIdentifier\":null}"));
}

TEST_F(QuillonToolReportShowTest, ATimeBeyondTheCalendarIsNoFailure) {
  report_.failedAt = std::chrono::sys_days(std::chrono::year(12000) / 1 / 1);

  EXPECT_THAT(show(report_.encoded()).output, HasSubstr("\nTime: outside the years 0 to 9999\n"));
  EXPECT_THAT(show(report_.encoded(), {"--json"}).output, HasSubstr(",\"failedAt\":null,"));
}

TEST_F(QuillonToolReportShowTest, ADescriptionCannotSteerTheTerminal) {
  report_.errorDescription = "a\x1b]0;b\a\nTime: never";

  EXPECT_THAT(show(report_.encoded()).output, HasSubstr("Description: a\\x1b]0;b\\x07\\x0aTime: never\n"));
}

TEST_F(QuillonToolReportShowTest, AnotherFileIsNoReport) {
  const ToolResult result = show("{ a = b; }");

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, IsEmpty());
  EXPECT_EQ(result.error, "quillon report show: " + file_.string() +
                              " is no failure report: The failure report has no text for \"errorDescription\"\n");
}

TEST_F(QuillonToolReportShowTest, AMissingFileIsAFailure) {
  const ToolResult result = testing::ToolRun()({"report", "show", file_.string()});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr(file_.string() + ": No such file or directory"));
}

}  // namespace
}  // namespace quillon
