#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonTool/QuillonToolFeedLint.h"
#include "QuillonToolTests/ToolRun.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using testing::ToolResult;

constexpr const char* kGood =
    "<plist><array><dict><key>type</key><string>update</string><key>id</key><string>3.0</string><key>current</key>"
    "<string>3.0</string><key>url</key><string>https://example.com</string></dict></array></plist>";
constexpr const char* kWarning =
    "<plist><array><dict><key>type</key><string>update</string><key>id</key><string>3.0</string><key>current</key>"
    "<string>3.0</string></dict></array></plist>";

class QuillonToolFeedLintTest : public ::testing::Test {
 protected:
  std::string file(const std::string& name, const std::string& bytes) {
    testing::writeFile(folder_ / name, bytes);
    return (folder_ / name).string();
  }
  ToolResult lint(std::vector<std::string> words) {
    words.insert(words.begin(), {"feed", "lint"});
    return run_(words);
  }

  const testing::TemporaryDirectory folder_;
  const testing::ToolRun run_;
};

TEST_F(QuillonToolFeedLintTest, AGoodFeedHasAStatusOfZero) {
  const std::string good = file("good.plist", kGood);
  EXPECT_EQ(lint({good}), (ToolResult{.status = 0, .output = good + ": 1 entry, 0 errors, 0 warnings\n"}));
}

TEST_F(QuillonToolFeedLintTest, WarningsCountWhenTheyAreToCount) {
  const std::string warning = file("warning.plist", kWarning);
  EXPECT_EQ(lint({warning}).status, 0);
  EXPECT_EQ(lint({"--strict", warning}).status, 1);
  EXPECT_THAT(lint({warning}).output, HasSubstr("entry 1, app-installer: warning: "));
}

TEST_F(QuillonToolFeedLintTest, ErrorsAreTheStatusTwoWhateverElseThereIs) {
  const ToolResult result = lint({"--strict", file("warning.plist", kWarning), file("none.plist", "<plist>")});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.output, HasSubstr("feed: error: The file is no property list."));
}

TEST_F(QuillonToolFeedLintTest, AFileThatCannotBeReadDoesNotHideTheOthers) {
  const ToolResult result = lint({(folder_ / "missing").string(), file("good.plist", kGood)});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.output, HasSubstr("feed: error: Cannot read " + (folder_ / "missing").string()));
  EXPECT_THAT(result.output, HasSubstr("good.plist: 1 entry, 0 errors, 0 warnings\n"));
}

TEST_F(QuillonToolFeedLintTest, ControlCharactersOfAFeedDoNotReachTheTerminal) {
  const std::string bytes =
      "({ type = update; id = \"\\033[2J\"; \"\\033\" = 1; releasedate = \"\\033]0;\\007\"; current = 3; })";
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{file("a.plist", bytes)}, {"--json", file("a.plist", bytes)}}) {
    const ToolResult result = lint(words);
    EXPECT_EQ(result.status, 2) << result.output;
    EXPECT_EQ(result.output.find('\x1B'), std::string::npos);
    EXPECT_EQ(result.output.find('\x07'), std::string::npos);
  }
}

TEST_F(QuillonToolFeedLintTest, AnswersInJSON) {
  const std::string good = file("good.plist", kGood);
  EXPECT_EQ(lint({"--json", good}).output,
            R"({"files":[{"file":")" + good + R"(","entries":1,"errors":0,"warnings":0,"findings":[]}]})" + "\n");
  EXPECT_THAT(lint({"--json", file("e.plist", "none")}).output, HasSubstr(R"("errors":1,"warnings":0,"findings":[{)"));
}

TEST_F(QuillonToolFeedLintTest, WithoutFileTheCommandLineIsWrong) {
  EXPECT_EQ(lint({}).status, 2);
  EXPECT_THAT(lint({}).error, HasSubstr("FILE is missing"));
}

}  // namespace
}  // namespace quillon
