#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ZipArchive/ZipArchiveError.h"

namespace quillon {
namespace {

TEST(ZipArchiveErrorTest, NamesAreQuotedWithoutWhatATerminalWouldObey) {
  EXPECT_EQ(quotedArchiveName("größe/a b"), "\"größe/a b\"");
  EXPECT_EQ(quotedArchiveName("a\n\x1B[31m\xFF"), "\"a\\x0A\\x1B[31m\\xFF\"");
  EXPECT_EQ(quotedArchiveName("a\u202Eb"), "\"a\\xE2\\x80\\xAEb\"");
}

TEST(ZipArchiveErrorTest, LongNamesAreCut) {
  EXPECT_LT(quotedArchiveName(std::string(1000, 'a')).size(), 250U);
}

TEST(ZipArchiveErrorTest, SentencesSayWhatIsWrong) {
  EXPECT_EQ(ZipArchiveError::damaged("it ends too early").description(), "The archive is damaged: it ends too early.");
  EXPECT_EQ(ZipArchiveError::entry("a\tb", "is encrypted").description(), "The entry \"a\\x09b\" is encrypted.");
}

}  // namespace
}  // namespace quillon
