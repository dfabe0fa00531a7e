#include <gtest/gtest.h>

#include <cstdint>

#include "QuillonCore/Text/CountedNoun.h"

namespace quillon {
namespace {

TEST(CountedNounTest, OneThingIsOneAndEveryOtherNumberSeveral) {
  EXPECT_EQ(countedNoun(0, "entry", "entries"), "0 entries");
  EXPECT_EQ(countedNoun(std::uint64_t{1}, "entry", "entries"), "1 entry");
  EXPECT_EQ(countedNoun(21, "entry", "entries"), "21 entries");
}

}  // namespace
}  // namespace quillon
