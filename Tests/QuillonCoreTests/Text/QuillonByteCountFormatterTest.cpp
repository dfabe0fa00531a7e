#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>

#include "QuillonCore/Text/QuillonByteCountFormatter.h"

namespace quillon {
namespace {

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();

struct EnglishCase {
  std::int64_t bytes;
  std::string_view text;
};

std::ostream& operator<<(std::ostream& stream, const EnglishCase& item) {
  return stream << item.bytes;
}

class QuillonByteCountFormatterEnglishTest : public ::testing::TestWithParam<EnglishCase> {};

TEST_P(QuillonByteCountFormatterEnglishTest, WritesTheSizeOfAFile) {
  EXPECT_EQ(formattedFileByteCount(GetParam().bytes, "en"), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Bytes, QuillonByteCountFormatterEnglishTest,
                         ::testing::Values(EnglishCase{0, "Zero KB"}, EnglishCase{1, "1 byte"},
                                           EnglishCase{2, "2 bytes"}, EnglishCase{999, "999 bytes"}));
INSTANTIATE_TEST_SUITE_P(KilobytesHaveNoFraction, QuillonByteCountFormatterEnglishTest,
                         ::testing::Values(EnglishCase{1000, "1 KB"}, EnglishCase{1023, "1 KB"},
                                           EnglishCase{1499, "1 KB"}, EnglishCase{1500, "2 KB"},
                                           EnglishCase{11'999, "12 KB"}, EnglishCase{900'000, "900 KB"},
                                           EnglishCase{999'499, "999 KB"}));
INSTANTIATE_TEST_SUITE_P(MegabytesHaveOneFractionDigit, QuillonByteCountFormatterEnglishTest,
                         ::testing::Values(EnglishCase{1'000'000, "1.0 MB"}, EnglishCase{1'049'999, "1.0 MB"},
                                           EnglishCase{1'050'000, "1.1 MB"}, EnglishCase{12'345'678, "12.3 MB"},
                                           EnglishCase{100'000'000, "100.0 MB"}, EnglishCase{999'949'999, "999.9 MB"}));
INSTANTIATE_TEST_SUITE_P(LargerUnitsHaveTwoFractionDigits, QuillonByteCountFormatterEnglishTest,
                         ::testing::Values(EnglishCase{1'190'000'000, "1.19 GB"}, EnglishCase{1'200'000'000, "1.20 GB"},
                                           EnglishCase{12'345'678'987, "12.35 GB"},
                                           EnglishCase{2'000'000'000'000, "2.00 TB"},
                                           EnglishCase{3'456'000'000'000'000, "3.46 PB"},
                                           EnglishCase{1'000'000'000'000'000'000, "1.00 EB"}));
INSTANTIATE_TEST_SUITE_P(RoundingUpReachesTheNextUnit, QuillonByteCountFormatterEnglishTest,
                         ::testing::Values(EnglishCase{999'500, "1.0 MB"}, EnglishCase{999'999, "1.0 MB"},
                                           EnglishCase{999'950'000, "1.00 GB"}, EnglishCase{999'999'999, "1.00 GB"},
                                           EnglishCase{999'994'999'999, "999.99 GB"},
                                           EnglishCase{999'995'000'000, "1.00 TB"}));
INSTANTIATE_TEST_SUITE_P(Negative, QuillonByteCountFormatterEnglishTest,
                         ::testing::Values(EnglishCase{-1, "-1 byte"}, EnglishCase{-999, "-999 bytes"},
                                           EnglishCase{-1'234'567, "-1.2 MB"}));
INSTANTIATE_TEST_SUITE_P(Limits, QuillonByteCountFormatterEnglishTest,
                         ::testing::Values(EnglishCase{kLargest, "9.22 EB"}, EnglishCase{kSmallest, "-9.22 EB"}));

struct LanguageCase {
  std::string_view language;
  std::string_view zero;
  std::string_view one;
  std::string_view three;
  std::string_view kilobytes;
  std::string_view megabytes;
  std::string_view largest;
};

std::ostream& operator<<(std::ostream& stream, const LanguageCase& item) {
  return stream << item.language;
}

class QuillonByteCountFormatterLanguageTest : public ::testing::TestWithParam<LanguageCase> {};

TEST_P(QuillonByteCountFormatterLanguageTest, WritesAsTheLanguageDoes) {
  const LanguageCase& item = GetParam();

  EXPECT_EQ(formattedFileByteCount(0, item.language), item.zero);
  EXPECT_EQ(formattedFileByteCount(1, item.language), item.one);
  EXPECT_EQ(formattedFileByteCount(3, item.language), item.three);
  EXPECT_EQ(formattedFileByteCount(12'000, item.language), item.kilobytes);
  EXPECT_EQ(formattedFileByteCount(45'600'000, item.language), item.megabytes);
  EXPECT_EQ(formattedFileByteCount(kLargest, item.language), item.largest);
}

INSTANTIATE_TEST_SUITE_P(
    AllLanguages, QuillonByteCountFormatterLanguageTest,
    ::testing::Values(LanguageCase{"en", "Zero KB", "1 byte", "3 bytes", "12 KB", "45.6 MB", "9.22 EB"},
                      LanguageCase{"de", "Null KB", "1 Byte", "3 Byte", "12 KB", "45,6 MB", "9,22 EB"},
                      LanguageCase{"fr", "Zéro Ko", "1 octet", "3 octets", "12 Ko", "45,6 Mo", "9,22 Eo"},
                      LanguageCase{"es", "Cero KB", "1 byte", "3 bytes", "12 KB", "45,6 MB", "9,22 EB"},
                      LanguageCase{"it", "Zero KB", "1 byte", "3 byte", "12 KB", "45,6 MB", "9,22 EB"},
                      LanguageCase{"pt-BR", "Zero KB", "1 byte", "3 bytes", "12 KB", "45,6 MB", "9,22 EB"},
                      LanguageCase{"nl", "Nul KB", "1 byte", "3 bytes", "12 KB", "45,6 MB", "9,22 EB"},
                      LanguageCase{"pl", "Zero KB", "1 bajt", "3 bajty", "12 KB", "45,6 MB", "9,22 EB"},
                      LanguageCase{"ru", "Ноль КБ", "1 байт", "3 байта", "12 КБ", "45,6 МБ", "9,22 ЭБ"},
                      LanguageCase{"uk", "Нуль КБ", "1 байт", "3 байти", "12 КБ", "45,6 МБ", "9,22 ЕБ"},
                      LanguageCase{"tr", "Sıfır KB", "1 bayt", "3 bayt", "12 KB", "45,6 MB", "9,22 EB"},
                      LanguageCase{"ja", "ゼロ KB", "1 バイト", "3 バイト", "12 KB", "45.6 MB", "9.22 EB"},
                      LanguageCase{"ko", "0KB", "1바이트", "3바이트", "12KB", "45.6MB", "9.22EB"},
                      LanguageCase{"zh-Hans", "零 KB", "1 字节", "3 字节", "12 KB", "45.6 MB", "9.22 EB"},
                      LanguageCase{"zh-Hant", "零 KB", "1 位元組", "3 位元組", "12 KB", "45.6 MB", "9.22 EB"}));

TEST(QuillonByteCountFormatterTest, TheWordForBytesFollowsTheNumber) {
  EXPECT_EQ(formattedFileByteCount(12, "pl"), "12 bajtów");
  EXPECT_EQ(formattedFileByteCount(21, "pl"), "21 bajtów");
  EXPECT_EQ(formattedFileByteCount(122, "pl"), "122 bajty");
  EXPECT_EQ(formattedFileByteCount(112, "pl"), "112 bajtów");
  EXPECT_EQ(formattedFileByteCount(21, "ru"), "21 байт");
  EXPECT_EQ(formattedFileByteCount(22, "ru"), "22 байта");
  EXPECT_EQ(formattedFileByteCount(111, "uk"), "111 байтів");
  EXPECT_EQ(formattedFileByteCount(121, "uk"), "121 байт");
}

TEST(QuillonByteCountFormatterTest, ARegionWritesAsItsLanguageExceptForItsDecimalSeparator) {
  EXPECT_EQ(formattedFileByteCount(45'600'000, "de-AT"), "45,6 MB");
  EXPECT_EQ(formattedFileByteCount(45'600'000, "de_CH"), "45.6 MB");
  EXPECT_EQ(formattedFileByteCount(45'600'000, "fr-CA"), "45,6 Mo");
  EXPECT_EQ(formattedFileByteCount(45'600'000, "es-AR"), "45,6 MB");
  EXPECT_EQ(formattedFileByteCount(45'600'000, "es-MX"), "45.6 MB");
  EXPECT_EQ(formattedFileByteCount(45'600'000, "ES-419"), "45.6 MB");
}

TEST(QuillonByteCountFormatterTest, ChineseIsTraditionalByScriptOrRegion) {
  for (const char* const language : {"zh-Hant", "zh-TW", "zh_HK", "zh-Hant-MO", "ZH-HANT"}) {
    EXPECT_EQ(formattedFileByteCount(9, language), "9 位元組") << language;
  }
  for (const char* const language : {"zh", "zh-CN", "zh-Hans", "zh-Hans-HK"}) {
    EXPECT_EQ(formattedFileByteCount(9, language), "9 字节") << language;
  }
}

TEST(QuillonByteCountFormatterTest, ALanguageThatIsNotKnownWritesAsEnglish) {
  for (const char* const language : {"", "-", "fi", "english", "\xFF\xFE"}) {
    EXPECT_EQ(formattedFileByteCount(45'600'000, language), "45.6 MB") << language;
  }
}

}  // namespace
}  // namespace quillon
