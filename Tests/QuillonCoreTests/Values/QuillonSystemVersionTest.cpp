#include <gtest/gtest.h>
#include <sys/utsname.h>

#include <string>

#include "QuillonCore/Values/QuillonSystemVersion.h"

namespace quillon {
namespace {

TEST(QuillonSystemVersionTest, RunningIsWhatTheSystemSaysOfItself) {
  const QuillonSystemVersion version = QuillonSystemVersion::running();
  utsname system{};
  ASSERT_EQ(uname(&system), 0);

  const std::string prefix = std::to_string(version.major) + "." + std::to_string(version.minor);
  EXPECT_TRUE(std::string(system.release).starts_with(prefix)) << system.release;
  EXPECT_GT(version.major, 0);
}

}  // namespace
}  // namespace quillon
