#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusDictionary.h"
#include "Support/BusPeer.h"
#include "Support/SocketPair.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;
using testing::append;
using testing::BusPeer;

class LauncherBusDictionaryTest : public ::testing::Test {
 protected:
  /// The dictionary of `message` as its receiver finds it.
  static std::optional<Dictionary> received(const BusPeer::Message& message) {
    EXPECT_GE(sd_bus_message_seal(message.get(), 1, 0), 0);
    EXPECT_GE(sd_bus_message_rewind(message.get(), 1), 0);
    return readLauncherBusDictionary(message.get());
  }

  [[nodiscard]] std::optional<Dictionary> sent(const Dictionary& dictionary) const {
    const auto message = peer_.makeCall();
    EXPECT_GE(appendLauncherBusDictionary(message.get(), dictionary), 0);
    return received(message);
  }

  /// What becomes of {"key": value}.
  template <typename... Values>
  [[nodiscard]] std::optional<Dictionary> receivedValue(const char* type, Values... values) const {
    const auto message = peer_.makeCall();
    EXPECT_GE(sd_bus_message_open_container(message.get(), 'a', "{sv}"), 0);
    EXPECT_GE(sd_bus_message_open_container(message.get(), 'e', "sv"), 0);
    append(message, "s", "key");
    EXPECT_GE(sd_bus_message_open_container(message.get(), 'v', type), 0);
    append(message, type, values...);
    for (int open = 0; open < 3; ++open) EXPECT_GE(sd_bus_message_close_container(message.get()), 0);
    return received(message);
  }

  template <typename T>
  static Dictionary withKey(T value) {
    return {{"key", QuillonPropertyListValue(value)}};
  }

  testing::SocketPair sockets_ = testing::makeSocketPair();
  BusPeer peer_{std::move(sockets_.host), BusPeer::Role::client};
};

TEST_F(LauncherBusDictionaryTest, PlainValuesArriveAsTheyAre) {
  const Dictionary dictionary = {
      {"", QuillonPropertyListValue("")},
      {"false", QuillonPropertyListValue(false)},
      {"largest", QuillonPropertyListValue(std::numeric_limits<std::int64_t>::max())},
      {"real", QuillonPropertyListValue(-0.5)},
      {"smallest", QuillonPropertyListValue(std::numeric_limits<std::int64_t>::min())},
      {"text", QuillonPropertyListValue("Zoë’s Äpp\n")},
      {"true", QuillonPropertyListValue(true)},
  };

  EXPECT_TRUE(fitsLauncherBus(dictionary));
  EXPECT_EQ(sent(dictionary), dictionary);
}

TEST_F(LauncherBusDictionaryTest, AnEmptyDictionaryArrives) {
  EXPECT_EQ(sent({}), Dictionary());
}

TEST_F(LauncherBusDictionaryTest, IntegersOfEverySizeBecomeIntegers) {
  EXPECT_EQ(receivedValue("y", 255), withKey(255));
  EXPECT_EQ(receivedValue("n", -32768), withKey(-32768));
  EXPECT_EQ(receivedValue("q", 65535), withKey(65535));
  EXPECT_EQ(receivedValue("i", -2147483647), withKey(-2147483647));
  EXPECT_EQ(receivedValue("u", 4294967295U), withKey(std::int64_t{4294967295}));
  EXPECT_EQ(receivedValue("t", std::uint64_t{9223372036854775807}), withKey(std::int64_t{9223372036854775807}));
}

TEST_F(LauncherBusDictionaryTest, AnUnsignedNumberBeyondAPropertyListsIntegersIsRefused) {
  EXPECT_EQ(receivedValue("t", std::uint64_t{9223372036854775808U}), std::nullopt);
}

TEST_F(LauncherBusDictionaryTest, OtherTypesAreRefused) {
  EXPECT_EQ(receivedValue("o", "/path"), std::nullopt);
  EXPECT_EQ(receivedValue("g", "a{sv}"), std::nullopt);
  EXPECT_EQ(receivedValue("as", 1, "text"), std::nullopt);
  EXPECT_EQ(receivedValue("ay", 1, 'x'), std::nullopt);
  EXPECT_EQ(receivedValue("a{sv}", 1, "inner", "s", "text"), std::nullopt);
  EXPECT_EQ(receivedValue("(ss)", "a", "b"), std::nullopt);
  EXPECT_EQ(receivedValue("v", "s", "text"), std::nullopt);
  EXPECT_EQ(receivedValue("aaaaaaaaas", 0), std::nullopt);
}

TEST_F(LauncherBusDictionaryTest, ABodyOfAnotherSignatureIsRefused) {
  const auto none = peer_.makeCall();
  const auto text = peer_.makeCall();
  append(text, "s", "text");
  const auto more = peer_.makeCall();
  append(more, "a{sv}s", 0, "text");
  const auto other = peer_.makeCall();
  append(other, "a{ss}", 1, "key", "text");

  EXPECT_EQ(received(none), std::nullopt);
  EXPECT_EQ(received(text), std::nullopt);
  EXPECT_EQ(received(more), std::nullopt);
  EXPECT_EQ(received(other), std::nullopt);
}

TEST_F(LauncherBusDictionaryTest, AKeyThatOccursTwiceIsRefused) {
  const auto message = peer_.makeCall();
  append(message, "a{sv}", 2, "key", "s", "first", "key", "s", "second");

  EXPECT_EQ(received(message), std::nullopt);
}

TEST_F(LauncherBusDictionaryTest, TheNumberOfEntriesIsLimited) {
  Dictionary dictionary;
  for (std::size_t i = 0; i < kLargestLauncherBusDictionaryCount; ++i) {
    dictionary.emplace(std::to_string(i), QuillonPropertyListValue(true));
  }
  const bool largestFits = fitsLauncherBus(dictionary);
  const auto largest = sent(dictionary);
  dictionary.emplace("more", QuillonPropertyListValue(true));

  EXPECT_TRUE(largestFits);
  EXPECT_TRUE(largest);
  EXPECT_FALSE(fitsLauncherBus(dictionary));
  EXPECT_EQ(sent(dictionary), std::nullopt);
}

TEST_F(LauncherBusDictionaryTest, TheLengthOfAllTextsIsLimited) {
  const std::string half(kLargestLauncherBusDictionaryText / 2 - 1, 'x');
  Dictionary dictionary = {{"a", QuillonPropertyListValue(half)}, {"b", QuillonPropertyListValue(half)}};
  const bool largestFits = fitsLauncherBus(dictionary);
  const auto largest = sent(dictionary);
  dictionary.emplace("c", QuillonPropertyListValue(true));

  EXPECT_TRUE(largestFits);
  EXPECT_EQ(largest->size(), 2U);
  EXPECT_FALSE(fitsLauncherBus(dictionary));
  EXPECT_EQ(sent(dictionary), std::nullopt);
}

TEST_F(LauncherBusDictionaryTest, WhatIsNoTextOfTheBusDoesNotFit) {
  EXPECT_FALSE(fitsLauncherBus(withKey(std::string("a\0b", 3))));
  EXPECT_FALSE(fitsLauncherBus(withKey("\xff")));
  EXPECT_FALSE(fitsLauncherBus({{std::string("k\0", 2), QuillonPropertyListValue(1)}}));
  EXPECT_FALSE(fitsLauncherBus({{"\xc3", QuillonPropertyListValue(1)}}));
}

TEST_F(LauncherBusDictionaryTest, WhatIsNoPlainValueDoesNotFit) {
  EXPECT_FALSE(fitsLauncherBus(withKey(QuillonPropertyListData{})));
  EXPECT_FALSE(fitsLauncherBus(withKey(QuillonPropertyListDate{})));
  EXPECT_FALSE(fitsLauncherBus(withKey(QuillonPropertyListValue::Array{})));
  EXPECT_FALSE(fitsLauncherBus(withKey(Dictionary{})));
}

}  // namespace
}  // namespace quillon
