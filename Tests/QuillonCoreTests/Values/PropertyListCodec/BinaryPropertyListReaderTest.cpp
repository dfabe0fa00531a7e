#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Values/PropertyListCodec/BinaryPropertyListReader.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using Value = QuillonPropertyListValue;
using namespace std::string_literals;

std::string bigEndian(std::uint64_t number, unsigned size) {
  std::string bytes;
  for (unsigned i = size; i-- > 0;) bytes += static_cast<char>(number >> (8 * i) & 0xFF);
  return bytes;
}

/// A binary list made of the bytes of its objects, each part of which can be made wrong.
struct BinaryList {
  std::vector<std::string> objects;
  unsigned offsetSize = 4;
  unsigned referenceSize = 1;
  std::uint64_t root = 0;
  std::vector<std::pair<std::size_t, std::uint64_t>> offsets = {};  // other offsets than the objects' own
  std::int64_t countError = 0;
  std::int64_t tableError = 0;

  [[nodiscard]] std::string bytes() const {
    std::string result = "bplist00";
    std::vector<std::uint64_t> table;
    for (const std::string& object : objects) {
      table.push_back(result.size());
      result += object;
    }
    for (const auto& [index, offset] : offsets) table[index] = offset;
    const std::size_t tableOffset = result.size();
    for (const std::uint64_t offset : table) result += bigEndian(offset, offsetSize);
    result += std::string(6, '\0') + bigEndian(offsetSize, 1) + bigEndian(referenceSize, 1);
    result += bigEndian(objects.size() + static_cast<std::uint64_t>(countError), 8) + bigEndian(root, 8);
    return result + bigEndian(tableOffset + static_cast<std::uint64_t>(tableError), 8);
  }
};

Value read(const BinaryList& list) {
  return readPropertyList(list.bytes());
}
Value readObject(const std::string& object) {
  return read({{object}});
}

TEST(BinaryPropertyListReaderTest, BooleansAreRead) {
  EXPECT_EQ(readObject("\x08"), Value(false));
  EXPECT_EQ(readObject("\x09"), Value(true));
}

TEST(BinaryPropertyListReaderTest, ShortIntegersAreUnsignedAndLongOnesSigned) {
  EXPECT_EQ(readObject("\x10\xFF"), Value(255));
  EXPECT_EQ(readObject("\x11\xFF\xFE"), Value(65534));
  EXPECT_EQ(readObject("\x12\xFF\xFF\xFF\xFF"), Value(std::int64_t{4294967295}));
  EXPECT_EQ(readObject("\x13" + std::string(8, '\xFF')), Value(-1));
  EXPECT_EQ(readObject("\x14" + std::string(15, '\0') + "\x07"), Value(7));
  EXPECT_EQ(readObject("\x14" + std::string(16, '\xFF')), Value(-1));
}

TEST(BinaryPropertyListReaderTest, RealsHaveTwoSizes) {
  EXPECT_EQ(readObject("\x22\x3F\xC0\x00\x00"s), Value(1.5));
  EXPECT_EQ(readObject("\x23\x3F\xF8\0\0\0\0\0\0"s), Value(1.5));
}

TEST(BinaryPropertyListReaderTest, DatesCountFrom2001WithFractions) {
  using std::chrono::milliseconds;
  const QuillonPropertyListDate reference(std::chrono::sys_days(std::chrono::year(2001) / 1 / 1));

  EXPECT_EQ(readObject("\x33\x3F\xF8\0\0\0\0\0\0"s), Value(QuillonPropertyListDate(reference + milliseconds(1500))));
  EXPECT_EQ(readObject("\x33\xBF\xD0\0\0\0\0\0\0"s), Value(QuillonPropertyListDate(reference - milliseconds(250))));
}

TEST(BinaryPropertyListReaderTest, StringsAreASCIIOrUTF16) {
  EXPECT_EQ(readObject("\x53"s + "abc"), Value("abc"));
  EXPECT_EQ(readObject("\x50"), Value(""));
  EXPECT_EQ(readObject("\x62\x00\xFC\x20\xAC"s), Value("\xC3\xBC\xE2\x82\xAC"));
  EXPECT_EQ(readObject("\x62\xD8\x3D\xDE\x00"s), Value("\xF0\x9F\x98\x80"));
  EXPECT_EQ(readObject("\x5F\x10\x11" + std::string(17, 'x')), Value(std::string(17, 'x')));
}

TEST(BinaryPropertyListReaderTest, ContainersReferToObjects) {
  const Value list =
      read({{"\xD2\x01\x02\x03\x04", "\x51"s + "a", "\x51"s + "b", "\xA2\x01\x05", "\x42\x01\x02", "\x09"}});

  EXPECT_EQ(list, Value(Value::Dictionary{{"a", Value(Value::Array{Value("a"), Value(true)})},
                                          {"b", Value(QuillonPropertyListData{{1, 2}})}}));
}

TEST(BinaryPropertyListReaderTest, ReferencesHaveEverySize) {
  for (unsigned size = 1; size <= 8; ++size) {
    BinaryList list{{"\xA1" + bigEndian(1, size), "\x09"}};
    list.referenceSize = size;
    list.offsetSize = size;

    EXPECT_EQ(read(list), Value(Value::Array{Value(true)})) << size;
  }
}

TEST(BinaryPropertyListReaderTest, ObjectsStandInAnyOrder) {
  BinaryList list{{"\x09", "\x51"s + "a", "\xA2\x00\x01"s}};
  list.root = 2;
  BinaryList swapped{{"\xA2\x01\x02", "\x09", "\x51"s + "a"}};
  swapped.offsets = {{1, 12}, {2, 11}};

  EXPECT_EQ(read(list), Value(Value::Array{Value(true), Value("a")}));
  EXPECT_EQ(read(swapped), Value(Value::Array{Value("a"), Value(true)}));
}

TEST(BinaryPropertyListReaderTest, StringsAndEmptyContainersMayBeShared) {
  EXPECT_EQ(read({{"\xA4\x01\x01\x02\x02", "\x51"s + "a", "\xA0"}}),
            Value(Value::Array{Value("a"), Value("a"), Value(Value::Array{}), Value(Value::Array{})}));
}

/// `depth` arrays, each in the one before.
BinaryList nestedArrays(std::size_t depth) {
  BinaryList list;
  list.referenceSize = 4;
  for (std::size_t i = 1; i < depth; ++i) list.objects.push_back("\xA1" + bigEndian(i, 4));
  list.objects.emplace_back("\xA0");
  return list;
}

TEST(BinaryPropertyListReaderTest, NestingEndsAt512) {
  EXPECT_NO_THROW(static_cast<void>(read(nestedArrays(512))));
  // The innermost array is empty and takes no level.
  EXPECT_THROW(static_cast<void>(read(nestedArrays(514))), QuillonPropertyListError);
}

struct Refused {
  const char* name;
  std::string bytes;
  const char* problem;
};

void PrintTo(const Refused& refused, std::ostream* stream) {
  *stream << refused.name;
}

std::string withOffsetSize(unsigned size) {
  BinaryList list{{"\x09"}};
  std::string bytes = list.bytes();
  bytes[bytes.size() - 26] = static_cast<char>(size);
  return bytes;
}

std::string withReferenceSize(unsigned size) {
  BinaryList list{{"\x09"}};
  list.referenceSize = size;
  return list.bytes();
}

std::string withRoot(std::uint64_t root) {
  BinaryList list{{"\x09"}};
  list.root = root;
  return list.bytes();
}

std::string withErrors(std::int64_t countError, std::int64_t tableError) {
  BinaryList list{{"\x09"}};
  list.countError = countError;
  list.tableError = tableError;
  return list.bytes();
}

std::string withOffset(std::uint64_t offset) {
  BinaryList list{{"\xA1\x01", "\x09"}};
  list.offsets = {{1, offset}};
  return list.bytes();
}

std::string objectInString() {
  BinaryList list{{"\xA2\x01\x02", "\x52\x08\x09", "\x09"}};
  list.offsets = {{2, 12}};
  return list.bytes();
}

/// Thirty arrays of ten references to the next one each: 10^30 values.
std::string billionLaughs() {
  BinaryList list;
  for (int i = 1; i <= 30; ++i) list.objects.push_back("\xAA" + std::string(10, static_cast<char>(i)));
  list.objects.emplace_back("\x53lol");
  return list.bytes();
}

/// An array of many references to one long string.
std::string repeatedString() {
  BinaryList list;
  const std::size_t count = 10000;
  std::string array = "\xAF\x11" + bigEndian(count, 2) + std::string(count, '\x01');
  list.objects = {array, "\x5F\x11" + bigEndian(count, 2) + std::string(count, 'x')};
  return list.bytes();
}

/// Many dictionaries that share long keys, which differ at their ends only.
std::string sharedLongKeys(std::size_t dictionaries) {
  BinaryList list;
  const unsigned keys = 20;
  std::string array = "\xAF\x11" + bigEndian(dictionaries, 2);
  for (std::size_t i = 0; i < dictionaries; ++i) array += bigEndian(i + 1, 2);
  list.objects.push_back(array);
  std::string references;
  for (std::size_t k = 0; k < keys; ++k) references += bigEndian(dictionaries + 1 + k, 2);
  for (unsigned k = 0; k < keys; ++k) references += bigEndian(dictionaries + keys + 1, 2);
  for (std::size_t i = 0; i < dictionaries; ++i) list.objects.push_back("\xDF\x10" + bigEndian(keys, 1) + references);
  for (unsigned k = 0; k < keys; ++k) {
    list.objects.push_back("\x5F\x11" + bigEndian(1002, 2) + std::string(1000, 'x') + bigEndian('0' + k, 1) + "y");
  }
  list.objects.emplace_back("\x09");
  list.referenceSize = 2;
  return list.bytes();
}

class RefusedBinaryPropertyListTest : public ::testing::TestWithParam<Refused> {};

TEST_P(RefusedBinaryPropertyListTest, SaysWhatIsWrong) {
  try {
    static_cast<void>(readPropertyList(GetParam().bytes));
    FAIL() << "was read";
  } catch (const QuillonPropertyListError& error) {
    EXPECT_THAT(error.what(), HasSubstr(GetParam().problem));
  }
}

std::string object(const std::string& bytes) {
  return BinaryList{{bytes}}.bytes();
}

INSTANTIATE_TEST_SUITE_P(
    All, RefusedBinaryPropertyListTest,
    ::testing::Values(
        Refused{"HeaderAlone", "bplist00", "truncated"},
        Refused{"OtherVersion", "bplist15" + std::string(40, '\0'), "version"},
        Refused{"OffsetSizeZero", withOffsetSize(0), "offset size"},
        Refused{"OffsetSizeNine", withOffsetSize(9), "offset size"},
        Refused{"ReferenceSizeZero", withReferenceSize(0), "reference size"},
        Refused{"ReferenceSizeNine", withReferenceSize(9), "reference size"},
        Refused{"RootBeyondObjects", withRoot(1), "root object"}, Refused{"HugeRoot", withRoot(~0ULL), "root object"},
        Refused{"TooManyObjects", withErrors(1, 0), "object count"},
        Refused{"NoObjects", withErrors(-1, 0), "object count"},
        Refused{"HugeObjectCount", withErrors(INT64_MAX, 0), "object count"},
        Refused{"TableInHeader", withErrors(0, -4), "table offset"},
        Refused{"TableInTrailer", withErrors(0, 4), "table offset"},
        Refused{"HugeTableOffset", withErrors(0, -100), "table offset"},
        Refused{"BytesAfterTheEnd", object("\x09") + "more", "out of range"},
        Refused{"OffsetInHeader", withOffset(7), "offset is out of range"},
        Refused{"OffsetInTable", withOffset(11), "offset is out of range"},
        Refused{"SameOffsetTwice", withOffset(8), "objects overlap"},
        Refused{"ObjectInsideAnother", objectInString(), "objects overlap"},
        Refused{"CutOff", object("\x53"s + "abc").substr(0, 40), "truncated"},
        Refused{"Null", object("\0"s), "neither true nor false"},
        Refused{"Fill", object("\x0F"), "neither true nor false"}, Refused{"UID", object("\x80\x01"), "UID"},
        Refused{"Set", object("\xC0"), "sets"}, Refused{"UnknownType", object("\x70"), "type is not known"},
        Refused{"IntegerOf32Bytes", object("\x15" + std::string(32, '\0')), "size is not supported"},
        Refused{"UnsignedIntegerBeyond63Bits", object("\x14" + std::string(8, '\0') + std::string(8, '\xFF')),
                "does not fit 64 bits"},
        Refused{"IntegerBeyond64Bits", object("\x14\x01" + std::string(15, '\0')), "does not fit 64 bits"},
        Refused{"RealOfTwoBytes", object("\x21\0\0"s), "real's size"},
        Refused{"DateOfFourBytes", object("\x32\0\0\0\0"s), "date's size"},
        Refused{"DateThatIsNaN", object("\x33\x7F\xF8\0\0\0\0\0\0"s), "date is out of range"},
        Refused{"DateThatIsInfinite", object("\x33\x7F\xF0\0\0\0\0\0\0"s), "date is out of range"},
        Refused{"IntegerCutOff", object("\x13\0\0"s), "truncated"},
        Refused{"StringLongerThanFile", object("\x54"s + "abc"), "the count exceeds the file"},
        Refused{"HugeStringCount", object("\x5F\x13" + std::string(8, '\x7F')), "the count exceeds the file"},
        Refused{"NegativeCount", object("\x5F\x13" + std::string(8, '\xFF')), "the count exceeds the file"},
        Refused{"HugeDictionaryCount", object("\xDF\x13\x80\0\0\0\0\0\0\0"s), "the count exceeds the file"},
        Refused{"HugeArrayCount", object("\xAF\x12\xFF\xFF\xFF\xFF"), "the count exceeds the file"},
        Refused{"CountThatIsNoInteger", object("\x5F\x09"), "a count is expected"},
        Refused{"CountCutOff", object("\x5F"), "a count is expected"},
        Refused{"ASCIIWithOtherCharacters", object("\x51\xFC"), "an ASCII string holds other characters"},
        Refused{"UnpairedHighSurrogate", object("\x61\xD8\x3D"), "not UTF-16"},
        Refused{"UnpairedLowSurrogate", object("\x61\xDE\x00"s), "not UTF-16"},
        Refused{"ReferenceBeyondObjects", object("\xA1\x01"), "leads to no object"},
        Refused{"KeyReferenceBeyondObjects", object("\xD1\x01\x00"s), "leads to no object"},
        Refused{"KeyThatIsNoString", BinaryList{{"\xD1\x01\x01", "\x09"}}.bytes(), "a key is not a string"},
        Refused{"SameKeyTwice", BinaryList{{"\xD2\x01\x01\x02\x02", "\x51"s + "a", "\x09"}}.bytes(),
                "the same key twice"},
        Refused{"EqualKeys", BinaryList{{"\xD2\x01\x02\x03\x03", "\x51"s + "a", "\x51"s + "a", "\x09"}}.bytes(),
                "the same key twice"},
        Refused{"SameKeyInALongDictionary",
                BinaryList{{"\xDF\x10\x14" + std::string(20, '\x01') + std::string(20, '\x02'), "\x51"s + "a", "\x09"}}
                    .bytes(),
                "the same key twice"},
        Refused{"ArrayInItself", object("\xA1\x00"s), "a container holds itself"},
        Refused{"CycleOfTwo", BinaryList{{"\xA1\x01", "\xD1\x02\x00"s, "\x51"s + "a"}}.bytes(),
                "a container holds itself"},
        Refused{"SharedContainer", BinaryList{{"\xA2\x01\x01", "\xA1\x02", "\x09"}}.bytes(), "in more than one place"},
        Refused{"BillionLaughs", billionLaughs(), "in more than one place"},
        Refused{"LongStringRepeated", repeatedString(), "referred to too often"},
        Refused{"LongKeysShared", sharedLongKeys(100), "referred to too often"},
        Refused{"DeepArrays", nestedArrays(100000).bytes(), "more than 512 deep"}),
    [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace quillon
