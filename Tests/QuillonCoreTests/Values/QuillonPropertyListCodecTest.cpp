// Held against libplist and Python's plistlib, which read what is written here and write what is read.

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using Value = QuillonPropertyListValue;
using std::chrono::seconds;

struct Case {
  const char* name;
  Value value;
};

void PrintTo(const Case& tested, std::ostream* stream) {
  *stream << tested.name;
}

QuillonPropertyListDate date(std::int64_t secondsSince1970) {
  return QuillonPropertyListDate(seconds(secondsSince1970));
}

Value bytes(std::size_t count) {
  QuillonPropertyListData data;
  for (std::size_t i = 0; i < count; ++i) data.bytes.push_back(static_cast<std::uint8_t>(i * 7));
  return Value(data);
}

/// An array of `count` dictionaries, enough for references of two bytes at 300.
Value entries(int count) {
  Value::Array array;
  for (int i = 0; i < count; ++i) {
    array.emplace_back(Value::Dictionary{{"number", Value(i)}, {"text", Value("text " + std::to_string(i))}});
  }
  return Value(array);
}

Value longDictionary() {
  Value::Dictionary dictionary;
  for (int i = 0; i < 300; ++i) dictionary.emplace("key " + std::to_string(i), Value(i));
  return Value(dictionary);
}

Value nested(int depth) {
  Value value("inside");
  for (int i = 0; i < depth; ++i) value = Value(Value::Array{value});
  return value;
}

std::vector<Case> cases() {
  return {{"True", Value(true)},
          {"False", Value(false)},
          {"Zero", Value(0)},
          {"OneByte", Value(255)},
          {"TwoBytes", Value(256)},
          {"FourBytes", Value(std::int64_t{4000000000})},
          {"EightBytes", Value(std::int64_t{5000000000})},
          {"MinusOne", Value(-1)},
          {"LargestInteger", Value(std::numeric_limits<std::int64_t>::max())},
          {"SmallestInteger", Value(std::numeric_limits<std::int64_t>::min())},
          {"Real", Value(0.1)},
          {"WholeReal", Value(3.0)},
          {"LargeReal", Value(1e300)},
          {"SmallestReal", Value(std::numeric_limits<double>::denorm_min())},
          {"EmptyString", Value("")},
          {"String", Value("text")},
          {"SpecialCharacters", Value("<a href=\"x\">&amp;'\t\n</a>")},
          {"OuterSpace", Value("  a  ")},
          {"LongString", Value(std::string(70000, 'x'))},
          {"Umlaut", Value("M\xC3\xBCnchen")},
          {"BeyondTheBasicPlane", Value("\xF0\x9F\x98\x80")},
          {"EmptyData", bytes(0)},
          {"OneByteOfData", bytes(1)},
          {"TwoBytesOfData", bytes(2)},
          {"LongData", bytes(1000)},
          {"Date", Value(date(1700000000))},
          {"DateBefore1970", Value(date(-86400))},
          {"DateOfALeapDay", Value(date(1709164800))},
          {"EmptyArray", Value(Value::Array{})},
          {"EmptyDictionary", Value(Value::Dictionary{})},
          {"MixedArray", Value(Value::Array{Value(1), Value("1"), Value(1.5), Value(true), Value(Value::Array{})})},
          {"Entries", entries(300)},
          {"LongDictionary", longDictionary()},
          {"SpecialKeys", Value(Value::Dictionary{{"<&>", Value(1)}, {"", Value(2)}, {"\xC3\xBC", Value(3)}})},
          {"Nested", nested(100)}};
}

class PropertyListRoundTripTest : public ::testing::TestWithParam<Case> {};

TEST_P(PropertyListRoundTripTest, XMLReadsBackEqual) {
  EXPECT_EQ(readPropertyList(writeXMLPropertyList(GetParam().value)), GetParam().value);
}

TEST_P(PropertyListRoundTripTest, BinaryReadsBackEqual) {
  EXPECT_EQ(readPropertyList(writeBinaryPropertyList(GetParam().value)), GetParam().value);
}

using PlistPointer = std::unique_ptr<void, decltype(&plist_free)>;
using PlistWriter = decltype(&plist_to_xml);

/// What libplist makes of `text`, written again by `writer`.
std::string throughLibplist(const std::string& text, PlistWriter writer) {
  plist_t list = nullptr;
  plist_from_memory(text.data(), static_cast<std::uint32_t>(text.size()), &list);
  const PlistPointer owner(list, &plist_free);
  if (list == nullptr) return {};
  char* written = nullptr;
  std::uint32_t size = 0;
  writer(list, &written, &size);
  const std::unique_ptr<char, decltype(&std::free)> writtenOwner(written, &std::free);
  return written == nullptr ? std::string() : std::string(written, size);
}

TEST_P(PropertyListRoundTripTest, LibplistReadsOurBinaryAndWeReadItsXML) {
  const std::string written = throughLibplist(writeBinaryPropertyList(GetParam().value), &plist_to_xml);

  EXPECT_EQ(readPropertyList(written), GetParam().value) << written;
}

TEST_P(PropertyListRoundTripTest, LibplistReadsOurXMLAndWeReadItsBinary) {
  const std::string written = throughLibplist(writeXMLPropertyList(GetParam().value), &plist_to_bin);

  EXPECT_EQ(readPropertyList(written), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Values, PropertyListRoundTripTest, ::testing::ValuesIn(cases()),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(QuillonPropertyListCodecTest, RealsThatAreNoNumbersReadBack) {
  EXPECT_EQ(readPropertyList(writeXMLPropertyList(Value(INFINITY))), Value(INFINITY));
  EXPECT_EQ(readPropertyList(writeXMLPropertyList(Value(-INFINITY))), Value(-INFINITY));
  EXPECT_EQ(readPropertyList(writeBinaryPropertyList(Value(-INFINITY))), Value(-INFINITY));
  EXPECT_TRUE(std::isnan(*readPropertyList(writeXMLPropertyList(Value(std::nan("")))).getIf<double>()));
  EXPECT_TRUE(std::isnan(*readPropertyList(writeBinaryPropertyList(Value(std::nan("")))).getIf<double>()));
}

TEST(QuillonPropertyListCodecTest, PythonReadsBothFormsAndWeReadBothOfPython) {
  if (std::system("python3 -c 'import plistlib' 2>/dev/null") != 0) GTEST_SKIP() << "there is no python3";
  const testing::TemporaryDirectory folder;
  Value::Dictionary all;
  for (const Case& tested : cases()) all.emplace(tested.name, tested.value);
  testing::writeFile(folder / "xml.plist", writeXMLPropertyList(Value(all)));
  testing::writeFile(folder / "binary.plist", writeBinaryPropertyList(Value(all)));
  const std::string script =
      "import plistlib, sys\n"
      "folder = sys.argv[1]\n"
      "xml = plistlib.load(open(folder + '/xml.plist', 'rb'))\n"
      "binary = plistlib.load(open(folder + '/binary.plist', 'rb'))\n"
      "assert xml == binary\n"
      "plistlib.dump(xml, open(folder + '/xml2.plist', 'wb'))\n"
      "plistlib.dump(binary, open(folder + '/binary2.plist', 'wb'), fmt=plistlib.FMT_BINARY)\n";
  testing::writeFile(folder / "script.py", script);
  const std::string command = "python3 " + (folder / "script.py").string() + " " + folder.path().string();

  ASSERT_EQ(std::system(command.c_str()), 0);

  EXPECT_EQ(readPropertyList(testing::readFile(folder / "xml2.plist")), Value(all));
  EXPECT_EQ(readPropertyList(testing::readFile(folder / "binary2.plist")), Value(all));
}

}  // namespace
}  // namespace quillon
