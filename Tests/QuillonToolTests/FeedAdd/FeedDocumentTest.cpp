#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/FeedAdd/FeedDocument.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;

FeedDictionary release(std::string_view id, std::string_view current, std::string_view type = "update") {
  return entryOf({{"type", type}, {"id", id}, {"current", current}});
}

FeedDocument documentOf(std::initializer_list<FeedDictionary> entries) {
  QuillonPropertyListValue::Array array;
  for (const FeedDictionary& entry : entries) array.emplace_back(entry);
  const QuillonPropertyListValue list(std::move(array));
  return FeedDocument(writeXMLPropertyList(list));
}

std::vector<std::string> identifiers(const FeedDocument& document) {
  std::vector<std::string> all;
  for (const FeedDictionary& entry : document.entries()) all.push_back(stringOrEmpty(entry, "id"));
  return all;
}

TEST(FeedDocumentTest, TheNewestStandsFirst) {
  FeedDocument document = documentOf({release("3", "3.0"), release("1", "1.0")});

  EXPECT_EQ(document.insert(release("4", "4.0")), 0U);
  EXPECT_EQ(document.insert(release("2", "2.0")), 2U);
  EXPECT_EQ(document.insert(release("0", "0.5")), 4U);

  EXPECT_THAT(identifiers(document), ElementsAre("4", "3", "2", "1", "0"));
}

TEST(FeedDocumentTest, EntriesOfOtherTypesAndForOthersKeepTheirPlaces) {
  FeedDictionary german = release("de", "5.0");
  german.emplace("lang", QuillonPropertyListValue("de"));
  FeedDocument document =
      documentOf({release("n1", "", "news"), german, release("1", "1.0"), release("n2", "", "news")});

  EXPECT_EQ(document.insert(release("2", "2.0")), 2U);
  EXPECT_EQ(document.insert(release("0", "0.5")), 4U);

  EXPECT_THAT(identifiers(document), ElementsAre("n1", "de", "2", "1", "0", "n2"));
}

TEST(FeedDocumentTest, TheFirstOfATypeGoesToTheEnd) {
  FeedDocument document = documentOf({release("n1", "", "news")});
  EXPECT_EQ(document.insert(release("1", "1.0")), 1U);
}

TEST(FeedDocumentTest, FindsTheEntryForTheSameUsersOnly) {
  FeedDictionary german = release("3", "3.0");
  german.emplace("lang", QuillonPropertyListValue("de"));
  const FeedDocument document = documentOf({german, release("3", "2.9")});

  EXPECT_EQ(document.find(release("3", "3.0")), 1U);
  EXPECT_EQ(document.find(german), 0U);
  EXPECT_EQ(document.find(release("4", "3.0")), std::nullopt);
  EXPECT_EQ(document.find(release("3", "3.0", "news")), std::nullopt);
}

TEST(FeedDocumentTest, EverythingThatIsNotChangedKeepsItsValueInBothForms) {
  FeedDictionary odd = release("1", "1.0");
  odd.emplace("own", QuillonPropertyListValue(
                         QuillonPropertyListValue::Array{QuillonPropertyListValue(true), QuillonPropertyListValue(1.5),
                                                         QuillonPropertyListValue(QuillonPropertyListData{{0, 255}})}));
  const QuillonPropertyListValue list(QuillonPropertyListValue::Array{QuillonPropertyListValue(odd)});

  for (const std::string& bytes : {writeXMLPropertyList(list), writeBinaryPropertyList(list)}) {
    FeedDocument document(bytes);
    document.insert(release("2", "2.0"));

    const FeedDocument again(document.bytes());
    EXPECT_EQ(again.entries().at(1), odd);
    EXPECT_EQ(document.bytes().substr(0, 6), bytes.substr(0, 6));
  }
}

TEST(FeedDocumentTest, WhatIsNoFeedIsRefused) {
  EXPECT_THROW(FeedDocument("<plist>"), QuillonError);
  EXPECT_THROW(FeedDocument("<plist><dict/></plist>"), QuillonError);
  EXPECT_THROW(FeedDocument("<plist><array><true/></array></plist>"), QuillonError);
  EXPECT_TRUE(FeedDocument("<plist><array/></plist>").entries().empty());
}

}  // namespace
}  // namespace quillon
