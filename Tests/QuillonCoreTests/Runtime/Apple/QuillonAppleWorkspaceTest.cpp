#include <gtest/gtest.h>

#include "QuillonCore/Runtime/Apple/QuillonAppleWorkspace.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

TEST(QuillonAppleWorkspaceTest, WhatIsNotThereIsNotOpened) {
  const testing::TemporaryDirectory folder;

  EXPECT_FALSE(QuillonAppleWorkspace().open(QuillonURL::fileURL((folder / "Missing.app").string())));
}

TEST(QuillonAppleWorkspaceTest, APathThatIsNoTextIsNotOpened) {
  EXPECT_FALSE(QuillonAppleWorkspace().open(QuillonURL::fileURL("/\xFF")));
}

}  // namespace
}  // namespace quillon
