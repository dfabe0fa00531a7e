#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ZipArchive/AppleDouble.h"
#include "ZipArchive/ZipArchiveError.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::string bigEndian(std::size_t value, int length) {
  std::string bytes;
  for (int i = length; i-- > 0;) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
  return bytes;
}

/// A file with the entries given, each an identifier and its content.
std::string file(const std::vector<std::pair<std::size_t, std::string>>& entries) {
  std::string bytes =
      bigEndian(0x00051607, 4) + bigEndian(0x00020000, 4) + std::string(16, ' ') + bigEndian(entries.size(), 2);
  std::size_t offset = bytes.size() + entries.size() * 12;
  for (const auto& [identifier, content] : entries) {
    bytes += bigEndian(identifier, 4) + bigEndian(offset, 4) + bigEndian(content.size(), 4);
    offset += content.size();
  }
  for (const auto& [identifier, content] : entries) bytes += content;
  return bytes;
}

TEST(AppleDoubleTest, WhatIsWrittenIsRead) {
  const std::vector<ExtendedAttribute> attributes{{"com.apple.FinderInfo", std::string(32, 'f')},
                                                  {"com.apple.cs.CodeSignature", std::string("s\0s", 3)},
                                                  {"empty", ""},
                                                  {std::string(254, 'n'), std::string(5000, 'v')},
                                                  {"com.apple.ResourceFork", "fork"}};

  EXPECT_EQ(parseAppleDouble(makeAppleDouble(attributes)), attributes);
}

TEST(AppleDoubleTest, TheLayoutIsTheOneThatMacOSWrites) {
  const std::string bytes = makeAppleDouble({{"a", "value"}});

  EXPECT_EQ(bytes, bigEndian(0x00051607, 4) + bigEndian(0x00020000, 4) + "Mac OS X        " + bigEndian(2, 2) +
                       bigEndian(9, 4) + bigEndian(50, 4) + bigEndian(91, 4) +  // Finder information, 50 to 141
                       bigEndian(2, 4) + bigEndian(141, 4) + bigEndian(0, 4) +  // no resource fork
                       std::string(34, '\0') +                                  // nothing set, padding
                       "ATTR" + bigEndian(0, 4) + bigEndian(141, 4) + bigEndian(136, 4) + bigEndian(5, 4) +
                       std::string(12, '\0') + bigEndian(0, 2) + bigEndian(1, 2) + bigEndian(136, 4) + bigEndian(5, 4) +
                       bigEndian(0, 2) + bigEndian(2, 1) + std::string("a\0\0\0\0", 5) + "value");
}

TEST(AppleDoubleTest, EntriesOfAnyOrderAndKindAreAccepted) {
  const std::string bytes = file({{2, "fork"}, {3, "real name"}, {9, std::string(32, 'f')}});

  EXPECT_THAT(parseAppleDouble(bytes), ElementsAre(ExtendedAttribute{"com.apple.ResourceFork", "fork"},
                                                   ExtendedAttribute{"com.apple.FinderInfo", std::string(32, 'f')}));
}

TEST(AppleDoubleTest, WhatIsLeftBlankIsNoAttribute) {
  std::string blankFork(286, '\0');
  blankFork.replace(16, 43, "This resource fork intentionally left blank");

  EXPECT_THAT(parseAppleDouble(file({{9, std::string(32, '\0')}, {2, blankFork}})), IsEmpty());
}

TEST(AppleDoubleTest, EveryTruncationIsRefused) {
  const std::string whole = makeAppleDouble({{"name", "value"}, {"com.apple.ResourceFork", "fork"}});

  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_THROW((void)parseAppleDouble(whole.substr(0, length)), ZipArchiveError) << length;
  }
}

TEST(AppleDoubleTest, TwoAttributesOfOneNameAreRefused) {
  EXPECT_THROW((void)parseAppleDouble(makeAppleDouble({{"a", "1"}, {"a", "2"}})), ZipArchiveError);
  EXPECT_THROW((void)parseAppleDouble(file({{2, "fork"}, {2, "fork"}})), ZipArchiveError);
}

TEST(AppleDoubleTest, AttributesThatShareTheirBytesAreRefused) {
  const std::string value(1000, 'v');
  std::string bytes = makeAppleDouble({{"a", value}, {"b", ""}, {"c", ""}});
  const std::string place = bytes.substr(120, 8);  // of the first, which the others are given too
  EXPECT_EQ(place, bigEndian(168, 4) + bigEndian(1000, 4));
  EXPECT_THAT(parseAppleDouble(bytes), SizeIs(3));

  bytes.replace(136, 8, place).replace(152, 8, place);

  EXPECT_THROW((void)parseAppleDouble(bytes), ZipArchiveError);
}

TEST(AppleDoubleTest, AttributesOfRepeatedFinderInformationAreRefused) {
  // Its second entry, a resource fork otherwise, is the first one again.
  std::string bytes = makeAppleDouble({{"a", std::string(1000, 'v')}});
  bytes.replace(38, 12, bytes.substr(26, 12));

  try {
    (void)parseAppleDouble(bytes);
    FAIL() << "not refused";
  } catch (const ZipArchiveError& error) {
    EXPECT_THAT(error.description(), HasSubstr("share their bytes"));
  }
}

TEST(AppleDoubleTest, AnAttributeWithoutNameIsRefused) {
  std::string bytes = makeAppleDouble({{"a", "value"}});
  bytes[50 + 34 + 36 + 11] = '\0';

  EXPECT_THROW((void)parseAppleDouble(bytes), ZipArchiveError);
}

TEST(AppleDoubleTest, WhatTheFormatHasNoRoomForIsNotWritten) {
  EXPECT_THROW((void)makeAppleDouble({{std::string(255, 'n'), ""}}), ZipArchiveError);
  EXPECT_THROW((void)makeAppleDouble({{"com.apple.FinderInfo", "short"}}), ZipArchiveError);
}

}  // namespace
}  // namespace quillon
