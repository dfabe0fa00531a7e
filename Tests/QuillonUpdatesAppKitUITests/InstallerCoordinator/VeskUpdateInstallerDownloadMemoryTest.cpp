#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <limits>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

template <typename Action>
int failureOf(Action action) {
  try {
    action();
  } catch (const QuillonSystemError& error) {
    return static_cast<int>(error.code());
  }
  return 0;
}

TEST(VeskUpdateInstallerDownloadMemoryTest, WhatWasAppendedIsWritten) {
  const testing::TemporaryDirectory folder;
  VeskUpdateInstallerDownloadMemory memory;
  memory.reserve(6);
  memory.append("abc");
  memory.append("def");

  memory.writeAtomically(QuillonPosixFileManager(), QuillonURL::fileURL((folder / "archive.zip").string()));

  EXPECT_EQ(memory.size(), 6U);
  EXPECT_EQ(testing::readFile(folder / "archive.zip"), "abcdef");
}

TEST(VeskUpdateInstallerDownloadMemoryTest, MoreThanTheLimitIsNotTaken) {
  VeskUpdateInstallerDownloadMemory memory(4);
  memory.append("abcd");

  EXPECT_EQ(failureOf([&] { memory.append("e"); }), EFBIG);
  EXPECT_EQ(failureOf([&] { memory.reserve(5); }), EFBIG);
  EXPECT_EQ(memory.size(), 4U);
}

TEST(VeskUpdateInstallerDownloadMemoryTest, MoreThanThereIsOfMemoryIsAnErrorOfItsOwn) {
  constexpr auto kMost = std::numeric_limits<std::uint64_t>::max();
  VeskUpdateInstallerDownloadMemory memory(kMost);

  EXPECT_EQ(failureOf([&] { memory.reserve(kMost / 2 + 1); }), ENOMEM);
  EXPECT_EQ(memory.size(), 0U);
}

}  // namespace
}  // namespace quillon
