#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(PromptSizeCheckTest, TwoNumbersInBracesAreFine) {
  EXPECT_THAT(findingsOf(checkPromptSize, {{"size", "{640, 480}"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkPromptSize, {{"size", "{ 640.5,480 }"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkPromptSize, {{"id", "1"}}), IsEmpty());
}

TEST(PromptSizeCheckTest, EverythingElseIsAWarning) {
  for (const std::string_view size :
       {"640x480", "{640}", "{640, 480", "{640, 480} x", "{0, 480}", "{-1, 480}", "{1.2.3, 480}"}) {
    EXPECT_THAT(findingsOf(checkPromptSize, {{"size", size}}),
                ElementsAre("warning size: \"" + std::string(size) + "\" is no size of the form {width, height}."));
  }
}

}  // namespace
}  // namespace quillon
