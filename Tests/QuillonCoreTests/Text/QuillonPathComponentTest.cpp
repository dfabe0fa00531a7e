#include <gtest/gtest.h>

#include <string_view>

#include "QuillonCore/Text/QuillonPathComponent.h"

namespace quillon {
namespace {

using namespace std::string_view_literals;

TEST(QuillonPathComponentTest, NamesOfItemsAreSingleComponents) {
  for (const std::string_view name : {"Example.zip"sv, ".hidden"sv, "..."sv, "a b"sv, "a\\b"sv, "\u00E9"sv}) {
    EXPECT_TRUE(isSinglePathComponent(name)) << name;
  }
}

TEST(QuillonPathComponentTest, WhatLeadsElsewhereIsNone) {
  for (const std::string_view name : {""sv, "."sv, ".."sv, "a/b"sv, "/"sv, "/a"sv, "a/"sv, "a\0b"sv}) {
    EXPECT_FALSE(isSinglePathComponent(name)) << name;
  }
}

}  // namespace
}  // namespace quillon
