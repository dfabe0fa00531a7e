#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "QuillonCore/Runtime/QuillonSystemLogPlatform.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;

std::string written(const char* line) {
  // The system writes to standard error as well when it is told to, or a terminal is there.
  setenv("CFLOG_FORCE_STDERR", "YES", 1);
  ::testing::internal::CaptureStderr();
  writeSystemLogLine(line);
  return ::testing::internal::GetCapturedStderr();
}

TEST(QuillonSystemLogPlatformTest, ALineIsWrittenAsItStands) {
  EXPECT_THAT(written("Größe: 100 % of %@ %n"), HasSubstr("Größe: 100 % of %@ %n\n"));
}

TEST(QuillonSystemLogPlatformTest, ALineThatIsNotUTF8IsMentioned) {
  EXPECT_THAT(written("a\xFF"), HasSubstr("(a line that is not UTF-8)\n"));
}

}  // namespace
}  // namespace quillon
