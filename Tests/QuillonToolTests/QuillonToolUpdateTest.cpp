#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "QuillonToolTests/ToolRun.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using testing::ToolResult;
using testing::ToolRun;

TEST(QuillonToolUpdateTest, AWrongCommandLineIsAUsageError) {
  EXPECT_EQ(ToolRun()({"update"}).status, 2);
  EXPECT_EQ(ToolRun()({"update", "/A.app", "--install"}).status, 2);
}

TEST(QuillonToolUpdateTest, ItsHelpNamesEveryExitStatus) {
  const ToolResult result = ToolRun()({"update", "--help"});

  EXPECT_EQ(result.status, 0);
  for (const char* const status : {"0 when", "1 when", "2 for", "10 when", "130 when"}) {
    EXPECT_THAT(result.output, HasSubstr(status));
  }
  for (const char* const word : {"no check was due", "installer document", "--json"}) {
    EXPECT_THAT(result.output.substr(result.output.find("Exit status")), HasSubstr(word));
  }
}

TEST(QuillonToolUpdateTest, AFailureIsALineOnStandardError) {
  const ToolResult result = ToolRun()({"update", "/nowhere/Example.app"});

  EXPECT_EQ(result, (ToolResult{.status = 1,
                                .output = {},
                                .error = "quillon update: There is no application bundle at /nowhere/Example.app.\n"}));
}

TEST(QuillonToolUpdateTest, JSONIsAloneOnStandardOutput) {
  const ToolResult result = ToolRun()({"update", "/nowhere/Example.app", "--json"});

  EXPECT_THAT(result.output, StartsWith("{\"result\":\"failed\",\"identifier\":\"\","));
  EXPECT_THAT(result.output, HasSubstr("\"error\":{\"code\":\"noBundle\",\"message\":\"There is no"));
}

TEST(QuillonToolUpdateTest, ALogIsWrittenWhereItIsAskedFor) {
  const testing::TemporaryDirectory folder;

  (void)ToolRun()({"update", "/nowhere/Example.app", "--log", (folder / "update.log").string()});

  EXPECT_THAT(testing::readFile(folder / "update.log"), HasSubstr("error [update] noBundle: There is no application"));
}

TEST(QuillonToolUpdateTest, ALogThatCannotBeWrittenIsAUsageError) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "file", "no folder");

  const ToolResult result = ToolRun()({"update", "/nowhere/Example.app", "--log", (folder / "file/log").string()});

  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.error, HasSubstr("--log"));
}

}  // namespace
}  // namespace quillon
