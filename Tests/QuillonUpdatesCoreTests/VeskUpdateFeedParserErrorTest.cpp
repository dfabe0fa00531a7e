#include <gtest/gtest.h>

#include "QuillonUpdatesCore/VeskUpdateFeedParserError.h"

namespace quillon {
namespace {

TEST(VeskUpdateFeedParserErrorTest, EachCaseHasItsDescription) {
  EXPECT_EQ(VeskUpdateFeedParserError::feedFailedToParse().description(), "Feed failed to parse");
  EXPECT_EQ(VeskUpdateFeedParserError::feedNotFound().description(), "Feed not found");
}

TEST(VeskUpdateFeedParserErrorTest, ErrorsAreEqualByCase) {
  EXPECT_EQ(VeskUpdateFeedParserError::feedNotFound(),
            VeskUpdateFeedParserError(VeskUpdateFeedParserError::Code::feedNotFound));
  EXPECT_NE(VeskUpdateFeedParserError::feedNotFound(), VeskUpdateFeedParserError::feedFailedToParse());
}

}  // namespace
}  // namespace quillon
