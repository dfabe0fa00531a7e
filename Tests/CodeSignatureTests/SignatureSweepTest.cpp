// Every byte of every signature part counts: whichever is changed, verification fails.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>

#include "CodeSignature/CodeSignatureVerdict.h"
#include "CodeSignature/LoadedSignature.h"
#include "Support/CodeInMemory.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/TemporaryDirectory.h"
#include "Support/TimestampAuthority.h"

namespace quillon {
namespace {

using testing::CodeInMemory;

bool isSealAccepted(const CodeRepresentation& code) {
  try {
    LoadedSignature signature = loadCodeDirectories(code);
    checkSpecialSlots(code, signature);
    return true;
  } catch (const CodeSignatureError&) {
    return false;
  }
}

bool isSignatureAccepted(const CodeRepresentation& code) {
  try {
    LoadedSignature signature = loadCodeDirectories(code);
    loadCMS(code, {}, signature);
    return true;
  } catch (const CodeSignatureError&) {
    return false;
  }
}

/// Part of a part, so that no single test takes long.
struct Range {
  CodeSlot slot;
  int index = 0;
  int count = 1;
};

class SignatureSweepTest : public ::testing::TestWithParam<Range> {};

/// `byte` with one bit changed. The bits take turns; 0x20 is the one that lenient readers of tags ignore.
char changedByte(char byte, std::size_t turn) {
  static constexpr std::array<unsigned char, 3> kPatterns = {0x20, 0x01, 0x80};
  return static_cast<char>(static_cast<unsigned char>(byte) ^ kPatterns[turn % kPatterns.size()]);
}

TEST_P(SignatureSweepTest, NoByteCanBeChangedUnnoticed) {
  const testing::TemporaryDirectory folder;
  testing::SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().sign();
  CodeInMemory code(bundle);
  const Range range = GetParam();
  // The directory and the message vouch for each other; the directory vouches for all other parts.
  const bool isSigned = range.slot == CodeSlot::codeDirectory || range.slot == CodeSlot::signature;
  const auto isAccepted = isSigned ? isSignatureAccepted : isSealAccepted;
  ASSERT_TRUE(isAccepted(code));
  std::string& part = code.parts.at(range.slot);

  const std::size_t size = part.size() / static_cast<std::size_t>(range.count) + 1;
  const std::size_t begin = static_cast<std::size_t>(range.index) * size;
  for (std::size_t i = begin; i < std::min(begin + size, part.size()); ++i) {
    const char original = part[i];
    part[i] = changedByte(original, i);
    EXPECT_FALSE(isAccepted(code)) << "byte " << i << " of " << part.size();
    part[i] = original;
  }
}

TEST(SignatureSweepTest, TagsOfTheMessageCountWhole) {
  const testing::TemporaryDirectory folder;
  testing::SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().sign();
  CodeInMemory code(bundle);
  std::string& message = code.parts.at(CodeSlot::signature);

  // The headers of the outer values all stand in the first bytes.
  for (std::size_t i = 0; i < 64; ++i) {
    const char original = message[i];
    for (int pattern = 1; pattern < 256; ++pattern) {
      message[i] = static_cast<char>(static_cast<unsigned char>(original) ^ static_cast<unsigned>(pattern));
      EXPECT_FALSE(isSignatureAccepted(code)) << "byte " << i << ", pattern " << pattern;
    }
    message[i] = original;
  }
}

constexpr int kTimestampSweepCount = 6;

class TimestampSweepTest : public ::testing::TestWithParam<int> {};

TEST_P(TimestampSweepTest, NoByteOfATimeStampCanBeChangedUnnoticed) {
  const testing::TemporaryDirectory folder;
  testing::SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().sign();
  CodeInMemory code(bundle);
  std::string& message = code.parts.at(CodeSlot::signature);
  const std::string plain = message;
  message = testing::timestampedMessage(plain, testing::TimestampAuthority::shared());
  ASSERT_TRUE(isSignatureAccepted(code));
  // The attributes that the signer did not sign stand at the end.
  const std::size_t begin = std::string_view(message).rfind(testing::signatureValueOf(message));
  ASSERT_LT(begin, message.size());

  for (std::size_t i = begin + static_cast<std::size_t>(GetParam()); i < message.size(); i += kTimestampSweepCount) {
    const char original = message[i];
    message[i] = changedByte(original, i / kTimestampSweepCount);
    EXPECT_FALSE(isSignatureAccepted(code)) << "byte " << i << " of " << message.size();
    message[i] = original;
  }
}

INSTANTIATE_TEST_SUITE_P(Parts, TimestampSweepTest, ::testing::Range(0, kTimestampSweepCount));

std::string partName(const ::testing::TestParamInfo<Range>& info) {
  std::string name = "InfoPropertyList";
  for (const CodeSlotFile& file : kCodeSlotFiles) {
    if (file.slot == info.param.slot) name = file.name;
  }
  return name + std::to_string(info.param.index);
}

INSTANTIATE_TEST_SUITE_P(Parts, SignatureSweepTest,
                         ::testing::Values(Range{CodeSlot::codeDirectory}, Range{CodeSlot::infoPropertyList},
                                           Range{CodeSlot::requirements}, Range{CodeSlot::resources},
                                           Range{CodeSlot::signature, 0, 3}, Range{CodeSlot::signature, 1, 3},
                                           Range{CodeSlot::signature, 2, 3}),
                         partName);

}  // namespace
}  // namespace quillon
