#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class UpdateInTerminalTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto made =
        QuillonPosixProcessRunner().run(QUILLON_SOURCE_FOLDER "/Examples/UpdateWindows/make_bundle", {bundle_});
    ASSERT_EQ(made.status, 0) << made.output;
  }
  /// Walks through the windows with `answers` as what a script writes.
  [[nodiscard]] QuillonProcessResult walk(const std::string& answers) const {
    return QuillonPosixProcessRunner().run("/bin/sh", {"-c", R"(printf '%b' "$3" | "$1" "$2" en)", "sh",
                                                       QUILLON_EXAMPLE_FOLDER "/UpdateInTerminal", bundle_, answers});
  }

  const testing::TemporaryDirectory folder_;
  const std::string bundle_ = (folder_ / "Example.app").string();
};

TEST_F(UpdateInTerminalTest, AScriptGoesThroughAllWindowsOfAnUpdate) {
  const auto result = walk("1\\n1\\n1\\n");

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("  1) Install Update\n  2) Remind Me Later\n  3) Skip This Update\n"));
  EXPECT_THAT(result.output, HasSubstr("Downloading update…  50 %  24.0 MB of 48.0 MB\n"));
  EXPECT_THAT(result.output, HasSubstr("Ready to Install  100 %\n  1) Install and Relaunch\n"));
  EXPECT_THAT(result.output, EndsWith("No Updates Available\nYou are running the current version of Example.\n"
                                      "  1) OK\n  x) [ ] Check for beta releases\n"));
}

TEST_F(UpdateInTerminalTest, WithoutAnAnswerNothingIsDownloaded) {
  const auto result = walk("");

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("  1) Install Update\n"));
  EXPECT_THAT(result.output, Not(HasSubstr("Downloading")));
}

}  // namespace
}  // namespace quillon
