#include <gtest/gtest.h>

#include <string>

#include "QuillonCore/Values/PropertyListCodec/PropertyListText.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

TEST(PropertyListTextTest, OneByteBeyondASCIIIsSeenAtEveryPlace) {
  for (std::size_t size = 1; size <= 40; ++size) {
    EXPECT_TRUE(isASCII(std::string(size, 'a')));
    for (std::size_t i = 0; i < size; ++i) {
      std::string text(size, 'a');
      text[i] = '\x80';
      EXPECT_FALSE(isASCII(text)) << i << " of " << size;
      EXPECT_EQ(firstByteNotUTF8(text), i) << size;
    }
  }
}

TEST(PropertyListTextTest, CharactersAcrossBlocksAreUTF8) {
  for (std::size_t before = 0; before <= 70; ++before) {
    const std::string text = std::string(before, 'a') + "\xF0\x9F\x98\x80\xC3\xBC" + std::string(40, 'b');

    EXPECT_FALSE(firstByteNotUTF8(text).has_value()) << before;
    EXPECT_EQ(firstByteNotUTF8(text.substr(0, before + 3)), before);
  }
}

TEST(PropertyListTextTest, UTF16IsDecodedInBothOrders) {
  PropertyListArena arena;

  EXPECT_EQ(utf8FromUTF16(std::string_view("\x00\x41\xD8\x3D\xDE\x00", 6), ByteOrder::bigEndian, arena),
            "A\xF0\x9F\x98\x80");
  EXPECT_EQ(utf8FromUTF16(std::string_view("\x41\x00\x3D\xD8\x00\xDE", 6), ByteOrder::littleEndian, arena),
            "A\xF0\x9F\x98\x80");
  EXPECT_EQ(utf8FromUTF16("", ByteOrder::bigEndian, arena), "");
}

TEST(PropertyListTextTest, BrokenUTF16IsRefused) {
  PropertyListArena arena;

  EXPECT_FALSE(utf8FromUTF16("a", ByteOrder::bigEndian, arena).has_value());
  EXPECT_FALSE(utf8FromUTF16("\xD8\x3D", ByteOrder::bigEndian, arena).has_value());
  EXPECT_FALSE(utf8FromUTF16(std::string_view("\xD8\x3D\x00\x41", 4), ByteOrder::bigEndian, arena).has_value());
  EXPECT_FALSE(utf8FromUTF16(std::string_view("\xDE\x00", 2), ByteOrder::bigEndian, arena).has_value());
}

TEST(PropertyListTextTest, UTF16IsWrittenWithPairs) {
  std::string bytes;

  EXPECT_EQ(appendUTF16BigEndian(bytes, "A\xF0\x9F\x98\x80"), 3U);
  EXPECT_EQ(bytes, std::string("\x00\x41\xD8\x3D\xDE\x00", 6));
}

TEST(PropertyListTextTest, FailuresNameTheLine) {
  const std::string_view text = "a\nb\nc";

  EXPECT_THROW(
      {
        try {
          failAtLine(text, text.data() + 4, "something");
        } catch (const QuillonPropertyListError& error) {
          EXPECT_STREQ(error.what(), "Not a property list: something at line 3");
          throw;
        }
      },
      QuillonPropertyListError);
}

}  // namespace
}  // namespace quillon
