#include <gtest/gtest.h>

#include "QuillonTool/Update/ApplicationProcesses.h"

namespace quillon {
namespace {

TEST(ApplicationProcessesTest, ProcessesAreDescribedByNumberAndName) {
  EXPECT_EQ(describe({}), "");
  EXPECT_EQ(describe({{.identifier = 12, .name = "Example"}, {.identifier = 30, .name = "Helper"}}),
            "12 (Example), 30 (Helper)");
}

}  // namespace
}  // namespace quillon
