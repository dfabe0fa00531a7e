#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "QuillonTool/QuillonToolVersionCompare.h"
#include "QuillonToolTests/ToolRun.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using testing::ToolResult;
using testing::ToolRun;

TEST(QuillonToolVersionCompareTest, NamesTheOrder) {
  const ToolRun run;

  EXPECT_EQ(run({"version", "compare", "1.9", "1.10"}), (ToolResult{.status = 0, .output = "ascending\n"}));
  EXPECT_EQ(run({"version", "compare", "2.0", "2.0"}), (ToolResult{.status = 0, .output = "same\n"}));
  EXPECT_EQ(run({"version", "compare", "2.0", "2.0b3"}), (ToolResult{.status = 0, .output = "descending\n"}));
}

TEST(QuillonToolVersionCompareTest, TakesVersionsThatLookLikeOptions) {
  EXPECT_EQ(ToolRun()({"version", "compare", "--", "--json", "--json"}).output, "same\n");
}

TEST(QuillonToolVersionCompareTest, AnswersInJSON) {
  EXPECT_EQ(ToolRun()({"version", "compare", "--json", "1\"", "2"}).output,
            R"({"a":"1\"","b":"2","result":"ascending"})"
            "\n");
}

TEST(QuillonToolVersionCompareTest, AnswersEachLineOfStandardInput) {
  const ToolResult result = ToolRun()({"version", "compare", "--stdin"}, "1\t2\n\t\n3\t2");

  EXPECT_EQ(result, (ToolResult{.status = 0, .output = "ascending\nsame\ndescending\n"}));
}

TEST(QuillonToolVersionCompareTest, AnswersEachLineInJSON) {
  const ToolResult result = ToolRun()({"version", "compare", "--stdin", "--json"}, "1\t2\n2\t2\n");

  EXPECT_EQ(result.output,
            "{\"a\":\"1\",\"b\":\"2\",\"result\":\"ascending\"}\n"
            "{\"a\":\"2\",\"b\":\"2\",\"result\":\"same\"}\n");
}

TEST(QuillonToolVersionCompareTest, EmptyInputHasNoAnswers) {
  EXPECT_EQ(ToolRun()({"version", "compare", "--stdin"}, ""), (ToolResult{.status = 0}));
}

TEST(QuillonToolVersionCompareTest, StopsAtALineThatIsNoPairAndNamesIt) {
  const ToolResult result = ToolRun()({"version", "compare", "--stdin"}, "1\t2\n1\t2\t3\n4\t5\n");

  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.output, "ascending\n");
  EXPECT_THAT(result.error, HasSubstr("Line 2 of the input has 2 tabs"));
  EXPECT_THAT(ToolRun()({"version", "compare", "--stdin"}, "\n").error, HasSubstr("Line 1 of the input has 0 tabs"));
}

TEST(QuillonToolVersionCompareTest, WantsTwoVersionsOrStandardInput) {
  const ToolRun run;

  EXPECT_EQ(run({"version", "compare", "1"}).status, 2);
  EXPECT_EQ(run({"version", "compare", "1", "2", "3"}).status, 2);
  EXPECT_EQ(run({"version", "compare", "--stdin", "1"}).status, 2);
}

}  // namespace
}  // namespace quillon
