#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <barrier>
#include <chrono>
#include <functional>
#include <limits>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonCore/Contracts/QuillonKeyValueStoring.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

// What every store of settings promises, wherever it keeps them. A test executable that includes this instantiates the
// suite with its implementations.

namespace quillon {
namespace testing {

/// An empty store with what it lives in.
struct KeyValueStoreWorld {
  std::shared_ptr<void> surroundings;
  std::shared_ptr<QuillonKeyValueStoring> store;
};

struct KeyValueStoreImplementation {
  friend void PrintTo(const KeyValueStoreImplementation& implementation, std::ostream* out) {
    *out << implementation.name;
  }

  std::string name;
  std::function<KeyValueStoreWorld()> make;
};

}  // namespace testing

class QuillonKeyValueStoringContract : public ::testing::TestWithParam<testing::KeyValueStoreImplementation> {
 protected:
  using Value = QuillonPropertyListValue;

  testing::KeyValueStoreWorld world_ = GetParam().make();
  QuillonKeyValueStoring& store_ = *world_.store;
};

TEST_P(QuillonKeyValueStoringContract, AnAbsentKeyIsFalseNoTextZeroAndNothing) {
  EXPECT_FALSE(store_.boolForKey("key"));
  EXPECT_EQ(store_.stringForKey("key"), std::nullopt);
  EXPECT_EQ(store_.integerForKey("key"), 0);
  EXPECT_EQ(store_.doubleForKey("key"), 0);
  EXPECT_EQ(store_.objectForKey("key"), std::nullopt);
}

TEST_P(QuillonKeyValueStoringContract, EveryTypeComesBackAsItWasStored) {
  const std::vector<Value> values = {
      Value(true),
      Value(std::numeric_limits<std::int64_t>::min()),
      Value(0.1),
      Value("text with \x01 and \xC3\xA9"),
      Value(QuillonPropertyListData{{0, 255}}),
      Value(QuillonPropertyListDate(std::chrono::microseconds(1'500'000))),
      Value(Value::Array{Value(1), Value(Value::Dictionary{})}),
      Value(Value::Dictionary{{"inner", Value("x")}}),
  };

  for (std::size_t index = 0; index < values.size(); ++index) store_.set(values[index], std::to_string(index));

  for (std::size_t index = 0; index < values.size(); ++index) {
    EXPECT_EQ(store_.objectForKey(std::to_string(index)), values[index]) << index;
  }
}

TEST_P(QuillonKeyValueStoringContract, ANumberIsAlsoReturnedAsItsText) {
  store_.set(Value(42), "integer");
  store_.set(Value(2.5), "real");

  EXPECT_THAT(store_.stringForKey("integer"), ::testing::Optional(::testing::Eq("42")));
  EXPECT_THAT(store_.stringForKey("real"), ::testing::Optional(::testing::Eq("2.5")));
}

TEST_P(QuillonKeyValueStoringContract, ValuesAreConverted) {
  store_.set(Value("12.5"), "text");
  store_.set(Value(true), "Boolean");
  store_.set(Value(Value::Array{Value(1)}), "array");

  EXPECT_EQ(store_.integerForKey("text"), 12);
  EXPECT_EQ(store_.doubleForKey("text"), 12.5);
  EXPECT_FALSE(store_.boolForKey("text"));
  EXPECT_TRUE(store_.boolForKey("Boolean"));
  EXPECT_EQ(store_.integerForKey("Boolean"), 1);
  EXPECT_EQ(store_.doubleForKey("Boolean"), 0);
  EXPECT_EQ(store_.stringForKey("array"), std::nullopt);
  EXPECT_EQ(store_.integerForKey("array"), 0);
}

TEST_P(QuillonKeyValueStoringContract, TheLastValueOfAKeyCounts) {
  store_.set(Value(1), "key");
  store_.set(Value("two"), "key");

  EXPECT_EQ(store_.objectForKey("key"), Value("two"));
}

TEST_P(QuillonKeyValueStoringContract, AnAbsentValueRemovesTheKeyAndNoOther) {
  store_.set(Value(1), "removed");
  store_.set(Value(2), "kept");

  store_.set(std::nullopt, "removed");

  EXPECT_EQ(store_.objectForKey("removed"), std::nullopt);
  EXPECT_EQ(store_.integerForKey("kept"), 2);
}

TEST_P(QuillonKeyValueStoringContract, RemovingAKeyThatIsNotThereDoesNoHarm) {
  store_.removeObject("none");
  store_.set(Value(1), "key");

  store_.removeObject("none");
  store_.removeObject("key");
  store_.removeObject("key");

  EXPECT_EQ(store_.objectForKey("key"), std::nullopt);
}

TEST_P(QuillonKeyValueStoringContract, AnyTextIsAKey) {
  using namespace std::string_view_literals;
  for (const std::string_view key : {""sv, "a\0b"sv, "../x"sv, "\xC3\xA9"sv}) {
    store_.set(Value(1), key);

    EXPECT_EQ(store_.integerForKey(key), 1);
    EXPECT_EQ(store_.integerForKey("a"), 0);
  }
}

TEST_P(QuillonKeyValueStoringContract, WhatNoPropertyListHoldsIsRefusedAndTheStoreIsAsItWas) {
  store_.set(Value("before"), "key");
  Value deep(1);
  for (int level = 0; level < 600; ++level) {
    Value::Array around;
    around.push_back(std::move(deep));
    deep = Value(std::move(around));
  }

  EXPECT_THROW(store_.set(Value("\xFF"), "key"), QuillonPropertyListError);
  EXPECT_THROW(store_.set(Value(1), "\xFF"), QuillonPropertyListError);
  EXPECT_THROW(store_.set(deep, "key"), QuillonPropertyListError);

  EXPECT_EQ(store_.objectForKey("key"), Value("before"));
  EXPECT_EQ(store_.objectForKey("\xFF"), std::nullopt);
}

TEST_P(QuillonKeyValueStoringContract, ThreadsThatWriteDifferentKeysLoseNothing) {
  static constexpr int kThreads = 4;
  static constexpr int kKeys = 8;
  std::barrier start(kThreads);
  {
    std::vector<std::jthread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([this, thread, &start] {
        start.arrive_and_wait();
        for (int key = 0; key < kKeys; ++key) {
          store_.set(Value(key), std::to_string(thread) + "." + std::to_string(key));
        }
      });
    }
  }

  for (int thread = 0; thread < kThreads; ++thread) {
    for (int key = 0; key < kKeys; ++key) {
      EXPECT_EQ(store_.objectForKey(std::to_string(thread) + "." + std::to_string(key)), Value(key));
    }
  }
}

}  // namespace quillon
