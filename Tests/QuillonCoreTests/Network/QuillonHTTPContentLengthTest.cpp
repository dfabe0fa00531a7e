#include <gtest/gtest.h>

#include "QuillonCore/Network/QuillonHTTPContentLength.h"

namespace quillon {
namespace {

TEST(QuillonHTTPContentLengthTest, ALengthIsExpectedAsItIsAnnounced) {
  EXPECT_EQ(expectedContentLength({{"Date", "today"}, {"content-LENGTH", "17"}}), 17);
  EXPECT_EQ(expectedContentLength({{"Content-Length", "0"}}), 0);
  EXPECT_EQ(expectedContentLength({{"Content-Length", "17"}, {"Content-Length", "17"}}), 17);
  EXPECT_EQ(expectedContentLength({{"Content-Length", "9223372036854775807"}}), 9223372036854775807);
}

TEST(QuillonHTTPContentLengthTest, NothingIsExpectedWithoutALength) {
  EXPECT_EQ(expectedContentLength({}), -1);
  EXPECT_EQ(announcedBodyLength({{"Date", "today"}}), -1);
}

TEST(QuillonHTTPContentLengthTest, NothingIsExpectedOfALengthThatIsNone) {
  for (const char* value : {"", "-1", "+1", "1x", "0x10", " 1", "1,1", "9223372036854775808"}) {
    EXPECT_EQ(expectedContentLength({{"Content-Length", value}}), -1) << value;
  }
  EXPECT_EQ(expectedContentLength({{"Content-Length", "1"}, {"Content-Length", "2"}}), -1);
  EXPECT_EQ(expectedContentLength({{"Content-Length", "1"}, {"Content-Length", "x"}}), -1);
}

TEST(QuillonHTTPContentLengthTest, AnEncodedBodyHasAnAnnouncedLengthButNoExpectedOne) {
  EXPECT_EQ(expectedContentLength({{"Content-Length", "17"}, {"Content-Encoding", "gzip"}}), -1);
  EXPECT_EQ(announcedBodyLength({{"Content-Length", "17"}, {"Content-Encoding", "gzip"}}), 17);
  EXPECT_EQ(expectedContentLength({{"Content-Length", "17"}, {"Content-Encoding", "Identity"}}), 17);
}

TEST(QuillonHTTPContentLengthTest, AChunkedBodyHasNeither) {
  EXPECT_EQ(announcedBodyLength({{"Content-Length", "17"}, {"Transfer-Encoding", "chunked"}}), -1);
}

}  // namespace
}  // namespace quillon
