#include <gtest/gtest.h>

#include "CodeSignature/CodeHash.h"

namespace quillon {
namespace {

// Digests of "abc" as FIPS 180-4 gives them in its examples.
TEST(CodeHashTest, DigestsAreThoseOfTheStandard) {
  EXPECT_EQ(hexadecimal(codeHash(CodeHashType::sha1, "abc")), "a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(hexadecimal(codeHash(CodeHashType::sha256, "abc")),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(hexadecimal(codeHash(CodeHashType::sha256Truncated, "abc")), "ba7816bf8f01cfea414140de5dae2223b00361a3");
  EXPECT_EQ(codeHash(CodeHashType::sha384, "abc").size(), 48U);
}

TEST(CodeHashTest, HasherBeginsTheNextStreamAfterEach) {
  CodeHasher hasher(CodeHashType::sha256);
  hasher.update("a");
  hasher.update("bc");
  const std::string first = hasher.finish();
  hasher.update("abc");

  EXPECT_EQ(hasher.finish(), first);
  EXPECT_EQ(hasher.finish(), fullCodeHash(CodeHashType::sha256, ""));
}

TEST(CodeHashTest, OnlyKnownNumbersAreTypes) {
  EXPECT_FALSE(codeHashType(0).has_value());
  EXPECT_EQ(codeHashType(2), CodeHashType::sha256);
  EXPECT_FALSE(codeHashType(5).has_value());
}

TEST(CodeHashTest, LongerHashesArePreferred) {
  EXPECT_GT(codeHashRank(CodeHashType::sha384), codeHashRank(CodeHashType::sha256));
  EXPECT_GT(codeHashRank(CodeHashType::sha256), codeHashRank(CodeHashType::sha256Truncated));
  EXPECT_GT(codeHashRank(CodeHashType::sha256Truncated), codeHashRank(CodeHashType::sha1));
}

}  // namespace
}  // namespace quillon
