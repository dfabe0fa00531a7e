#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/MultiBufferSHA256.h"

namespace quillon {
namespace {

class MultiBufferSHA256Test : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!hasher_) GTEST_SKIP() << "this build or this processor hashes one message at a time";
  }

  [[nodiscard]] std::string hashesOf(const std::vector<std::string_view>& messages) const {
    std::string digests(messages.size() * MultiBufferSHA256::kDigestSize, 'x');
    hasher_->hash(messages, digests);
    return digests;
  }

  const std::unique_ptr<MultiBufferSHA256> hasher_ = MultiBufferSHA256::make();
};

TEST_F(MultiBufferSHA256Test, AnyNumberOfMessagesOfAnyLengthHasTheDigestsOfEachAlone) {
  std::string bytes(10'000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 31 + i / 255);
  std::vector<std::string_view> messages;
  std::string expected;

  for (std::size_t length = 1; length <= 300; ++length) {
    messages.push_back(std::string_view(bytes).substr(length, length % 7 == 0 ? 4096 : length));
    expected += fullCodeHash(CodeHashType::sha256, messages.back());
    ASSERT_EQ(hashesOf(messages), expected) << length;
  }
}

TEST_F(MultiBufferSHA256Test, AnswersOfFIPS180) {
  // The examples that NIST publishes for the standard.
  EXPECT_EQ(hexadecimal(hashesOf({"abc", "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"})),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
}

TEST_F(MultiBufferSHA256Test, NoMessagesHaveNoDigests) {
  EXPECT_EQ(hashesOf({}), "");
}

TEST_F(MultiBufferSHA256Test, AnEmptyMessageHasADigestToo) {
  const std::string digests = hashesOf({"a", "", "b"});

  EXPECT_EQ(digests.substr(32, 32), fullCodeHash(CodeHashType::sha256, ""));
  EXPECT_EQ(digests.substr(64), fullCodeHash(CodeHashType::sha256, "b"));
}

TEST_F(MultiBufferSHA256Test, AMessageOfTheLargestLengthIsHashedAndALongerOneRefused) {
  const std::string longest(MultiBufferSHA256::kLongestMessage, 'x');

  EXPECT_EQ(hashesOf({longest}), fullCodeHash(CodeHashType::sha256, longest));
  EXPECT_ANY_THROW((void)hashesOf({"a", longest + 'x', "b"}));
}

TEST_F(MultiBufferSHA256Test, ARefusedMessageDoesNotDisturbTheNextOnes) {
  const std::string tooLong(MultiBufferSHA256::kLongestMessage + 1, 'x');
  EXPECT_ANY_THROW((void)hashesOf({"a", tooLong, "b"}));

  EXPECT_EQ(hashesOf({"c"}), fullCodeHash(CodeHashType::sha256, "c"));
}

}  // namespace
}  // namespace quillon
