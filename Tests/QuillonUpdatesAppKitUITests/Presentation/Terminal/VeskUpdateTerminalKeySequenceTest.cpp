#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalKeySequence.h"

namespace quillon {
namespace {

class VeskUpdateTerminalKeySequenceTest : public ::testing::Test {
 protected:
  /// The keys in `bytes`.
  std::string take(std::string_view bytes) {
    std::string keys;
    for (const char byte : bytes) {
      if (const auto key = sequence_.take(byte)) keys += *key;
    }
    return keys;
  }

  VeskUpdateTerminalKeySequence sequence_;
};

TEST_F(VeskUpdateTerminalKeySequenceTest, CharactersAreKeysAndACarriageReturnIsTheReturnKey) {
  EXPECT_EQ(take("1[O;x\n\r"), "1[O;x\n\n");
}

TEST_F(VeskUpdateTerminalKeySequenceTest, ArrowsFunctionKeysAndKeysWithAltAreNone) {
  EXPECT_EQ(take("\x1b[A\x1bOP\x1b[3~\x1b[1;5C\x1bO2P\x1bx\x1b\x1b[A1"), "1");
}

TEST_F(VeskUpdateTerminalKeySequenceTest, NothingOfASequenceIsAKeyWhereverALineCutsIt) {
  for (const std::string_view sequence : {"\x1b[A", "\x1bOP", "\x1b[3~", "\x1b[1;5C"}) {
    for (std::size_t cut = 2; cut <= sequence.size(); ++cut) {
      EXPECT_EQ(take(sequence.substr(0, cut)), "");
      sequence_.decide();  // the rest takes its time
      EXPECT_EQ(take(sequence.substr(cut)), "");
      EXPECT_EQ(take("1"), "1");
    }
  }
}

TEST_F(VeskUpdateTerminalKeySequenceTest, EscapeIsUndecidedUntilSomethingFollowsOrNothingDoes) {
  EXPECT_FALSE(sequence_.isUndecided());
  EXPECT_EQ(take("\x1b"), "");
  EXPECT_TRUE(sequence_.isUndecided());
  EXPECT_EQ(take("["), "");
  EXPECT_FALSE(sequence_.isUndecided());
  EXPECT_EQ(take("A\x1b"), "");
  EXPECT_TRUE(sequence_.isUndecided());

  sequence_.decide();

  EXPECT_FALSE(sequence_.isUndecided());
  EXPECT_EQ(take("1"), "1");
}

TEST_F(VeskUpdateTerminalKeySequenceTest, OfASequenceThatComesLateOnlyTheEscapeWasAKey) {
  EXPECT_EQ(take("\x1b"), "");
  sequence_.decide();

  EXPECT_EQ(take("[1;5C1"), "1");
}

TEST_F(VeskUpdateTerminalKeySequenceTest, AControlCharacterEndsASequenceThatHasLostItsEnd) {
  EXPECT_EQ(take("\x1b[1\n1"), "1");
  EXPECT_EQ(take("\x1b[1\x1b"), "");
  EXPECT_TRUE(sequence_.isUndecided());
}

}  // namespace
}  // namespace quillon
