#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/QuillonPropertyListDocument.h"

namespace quillon {
namespace {

using Value = QuillonPropertyListValue;

Value everyType() {
  return Value(Value::Dictionary{{"boolean", Value(true)},
                                 {"integer", Value(-7)},
                                 {"real", Value(0.5)},
                                 {"string", Value("text")},
                                 {"data", Value(QuillonPropertyListData{{1, 2}})},
                                 {"date", Value(QuillonPropertyListDate(std::chrono::seconds(1700000000)))},
                                 {"array", Value(Value::Array{Value("a"), Value("b")})},
                                 {"dictionary", Value(Value::Dictionary{{"k", Value("v")}})}});
}

class QuillonPropertyListDocumentTest : public ::testing::TestWithParam<std::string (*)(const Value&)> {
 protected:
  [[nodiscard]] static std::string bytesOf(const Value& value) { return GetParam()(value); }
};

TEST_P(QuillonPropertyListDocumentTest, AccessorsAnswerForTheirTypeOnly) {
  const QuillonPropertyListDocument document(bytesOf(everyType()));
  const QuillonPropertyListNode root = document.root();

  EXPECT_EQ(root.find("boolean")->boolIf(), true);
  EXPECT_EQ(root.find("integer")->integerIf(), -7);
  EXPECT_EQ(root.find("real")->realIf(), 0.5);
  EXPECT_EQ(root.find("string")->stringIf(), "text");
  const auto data = root.find("data")->dataIf();
  ASSERT_TRUE(data.has_value());
  EXPECT_EQ(std::vector<std::uint8_t>(data->begin(), data->end()), (std::vector<std::uint8_t>{1, 2}));
  EXPECT_EQ(root.find("date")->dateIf(), QuillonPropertyListDate(std::chrono::seconds(1700000000)));
  EXPECT_FALSE(root.find("boolean")->integerIf().has_value());
  EXPECT_FALSE(root.find("integer")->boolIf().has_value());
  EXPECT_FALSE(root.find("integer")->realIf().has_value());
  EXPECT_FALSE(root.find("data")->stringIf().has_value());
  EXPECT_FALSE(root.find("string")->dataIf().has_value());
  EXPECT_FALSE(root.find("integer")->dateIf().has_value());
  EXPECT_FALSE(root.stringIf().has_value());
}

TEST_P(QuillonPropertyListDocumentTest, ContainersAreWalkedAndSearched) {
  const QuillonPropertyListDocument document(bytesOf(everyType()));
  const QuillonPropertyListNode root = document.root();
  const QuillonPropertyListNode array = *root.find("array");
  std::string elements;
  std::string keys;

  for (const QuillonPropertyListNode element : array.elements()) elements += *element.stringIf();
  for (const auto& [key, value] : root.entries()) keys.append(key).append(" ");

  EXPECT_EQ(elements, "ab");
  EXPECT_EQ(keys, "array boolean data date dictionary integer real string ");
  EXPECT_EQ(array.size(), 2U);
  EXPECT_EQ(array.at(1).stringIf(), "b");
  EXPECT_EQ(root.size(), 8U);
  EXPECT_EQ(root.find("string")->size(), 0U);
  EXPECT_FALSE(root.find("missing").has_value());
  EXPECT_FALSE(array.find("k").has_value());
  EXPECT_EQ(array.entries().begin(), array.entries().end());
  EXPECT_EQ(root.elements().begin(), root.elements().end());
}

static_assert(std::input_iterator<QuillonPropertyListNode::ElementIterator>);
static_assert(std::input_iterator<QuillonPropertyListNode::EntryIterator>);

TEST_P(QuillonPropertyListDocumentTest, LongDictionariesAreSearchedToo) {
  Value::Dictionary entries;
  for (int i = 0; i < 1000; ++i) entries.emplace("key" + std::to_string(i), Value(i));
  const QuillonPropertyListDocument document(bytesOf(Value(entries)));

  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(document.root().find("key" + std::to_string(i))->integerIf(), i);
  }

  EXPECT_FALSE(document.root().find("key").has_value());
  EXPECT_FALSE(document.root().find("key1000").has_value());
  EXPECT_FALSE(document.root().find("zzz").has_value());
  EXPECT_EQ(document.root().toValue(), Value(entries));
}

TEST_P(QuillonPropertyListDocumentTest, NodesOutliveAMoveOfTheDocument) {
  QuillonPropertyListDocument document(bytesOf(Value(Value::Array{Value("a"), Value("\xC3\xBC")})));
  const QuillonPropertyListNode second = document.root().at(1);

  const QuillonPropertyListDocument moved(std::move(document));

  EXPECT_EQ(second.stringIf(), "\xC3\xBC");
  EXPECT_EQ(moved.root().size(), 2U);
}

TEST_P(QuillonPropertyListDocumentTest, StringsThatNeedNoDecodingAreViewsIntoTheBytes) {
  const std::string bytes = bytesOf(Value(Value::Array{Value("plain text")}));

  const QuillonPropertyListDocument document = QuillonPropertyListDocument::borrowing(bytes);

  const std::string_view text = *document.root().at(0).stringIf();
  EXPECT_GE(text.data(), bytes.data());
  EXPECT_LE(text.data() + text.size(), bytes.data() + bytes.size());
}

TEST_P(QuillonPropertyListDocumentTest, APlaceIsTheSameOnlyAsItself) {
  const QuillonPropertyListDocument document(bytesOf(Value(Value::Array{Value("first"), Value("second")})));
  const QuillonPropertyListNode root = document.root();

  EXPECT_TRUE(root.at(1).isSameAs(root.at(1)));
  EXPECT_FALSE(root.at(1).isSameAs(root.at(0)));
  EXPECT_FALSE(root.at(1).isSameAs(root));
}

INSTANTIATE_TEST_SUITE_P(Formats, QuillonPropertyListDocumentTest,
                         ::testing::Values(&writeXMLPropertyList, &writeBinaryPropertyList), [](const auto& tested) {
                           return std::string(tested.param == &writeXMLPropertyList ? "XML" : "Binary");
                         });

TEST(QuillonPropertyListDocumentErrorTest, WhatIsNoPropertyListIsRefused) {
  EXPECT_THROW(QuillonPropertyListDocument{std::string()}, QuillonPropertyListError);
  EXPECT_THROW(QuillonPropertyListDocument{"<plist>"}, QuillonPropertyListError);
  EXPECT_THROW(static_cast<void>(QuillonPropertyListDocument::borrowing("bplist00")), QuillonPropertyListError);
}

TEST(QuillonPropertyListRepeatedKeysTest, KeysWithSeveralValuesAreTold) {
  const QuillonPropertyListDocument document(
      "<plist><array><dict><key>b</key><true/><key>a</key><true/><key>c</key><true/><key>a</key><true/><key>b</key>"
      "<true/><key>a</key><false/></dict><dict><key>b</key><true/></dict><dict/></array></plist>");

  const auto repeated = document.root().at(0).repeatedKeys();

  EXPECT_EQ(std::vector(repeated.begin(), repeated.end()), (std::vector<std::string_view>{"a", "b"}));
  EXPECT_EQ(document.root().at(0).size(), 3U);
  EXPECT_EQ(document.root().at(0).find("a")->boolIf(), false) << "the last value counts";
  EXPECT_TRUE(document.root().at(1).repeatedKeys().empty());
  EXPECT_TRUE(document.root().at(2).repeatedKeys().empty());
  EXPECT_TRUE(document.root().repeatedKeys().empty());
}

TEST(QuillonPropertyListRepeatedKeysTest, AlsoThoseOfALongDictionary) {
  std::string text = "{ key0 = a;";
  for (int i = 0; i < 40; ++i) text += " key" + std::to_string(i) + " = b;";
  const QuillonPropertyListDocument document(text + " }");

  const auto repeated = document.root().repeatedKeys();

  EXPECT_EQ(std::vector(repeated.begin(), repeated.end()), (std::vector<std::string_view>{"key0"}));
  EXPECT_EQ(document.root().find("key0")->stringIf(), "b");
}

TEST(QuillonPropertyListRepeatedKeysTest, AnEmptyDictionaryBesideOneThatRepeatsKeysRepeatsNone) {
  const QuillonPropertyListDocument document(
      "<array><dict/><dict><key>a</key><true/><key>a</key><true/></dict><dict/></array>");

  EXPECT_TRUE(document.root().at(0).repeatedKeys().empty());
  EXPECT_EQ(document.root().at(1).repeatedKeys().size(), 1U);
  EXPECT_TRUE(document.root().at(2).repeatedKeys().empty());
}

}  // namespace
}  // namespace quillon
