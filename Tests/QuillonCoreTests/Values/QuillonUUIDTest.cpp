#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "QuillonCore/Values/QuillonUUID.h"

namespace quillon {
namespace {

TEST(QuillonUUIDTest, IsARandomUUIDInUpperCase) {
  std::set<std::string> seen;
  const char* const form = "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}";

  for (int i = 0; i < 100; ++i) {
    const std::string uuid = makeUUIDString();
    EXPECT_THAT(uuid, ::testing::MatchesRegex(form));
    seen.insert(uuid);
  }

  EXPECT_EQ(seen.size(), 100U);
}

}  // namespace
}  // namespace quillon
