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

TEST(QuillonUUIDTest, OnlyTextsOfThatFormAreRecognized) {
  const std::string uuid = makeUUIDString();

  EXPECT_TRUE(isUUIDString(uuid));
  EXPECT_TRUE(isUUIDString("0123ABCD-4567-4EF0-89AB-CDEF01234567"));
  for (const std::string& other :
       {std::string(), uuid + "0", uuid.substr(1), std::string("0123abcd-4567-4EF0-89AB-CDEF01234567"),
        std::string("0123ABCD-4567-1EF0-89AB-CDEF01234567"), std::string("0123ABCD-4567-4EF0-79AB-CDEF01234567"),
        std::string("0123ABCD.4567-4EF0-89AB-CDEF01234567"), std::string(36, '0')}) {
    EXPECT_FALSE(isUUIDString(other)) << other;
  }
}

}  // namespace
}  // namespace quillon
