#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <limits>
#include <string>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"
#include "Support/ScopedFileLengthLimit.h"
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
  memory.append("abc", {});
  memory.append("def", {});

  memory.writeAtomically(QuillonPosixFileManager(), QuillonURL::fileURL((folder / "archive.zip").string()), {});

  EXPECT_EQ(memory.size(), 6U);
  EXPECT_EQ(testing::readFile(folder / "archive.zip"), "abcdef");
}

TEST(VeskUpdateInstallerDownloadMemoryTest, AStopLeavesNothing) {
  const testing::TemporaryDirectory folder;
  VeskUpdateInstallerDownloadMemory memory;
  memory.append("abc", {});
  std::stop_source stop;
  stop.request_stop();

  EXPECT_THROW(memory.writeAtomically(QuillonPosixFileManager(), QuillonURL::fileURL((folder / "archive.zip").string()),
                                      stop.get_token()),
               QuillonCancellationError);

  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(VeskUpdateInstallerDownloadMemoryTest, AFailureLeavesWhatWasThere) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "archive.zip", "an older archive");
  VeskUpdateInstallerDownloadMemory memory;
  memory.append(std::string(2000, 'c'), {});
  const testing::ScopedFileLengthLimit limit(1000);

  EXPECT_EQ(failureOf([&] {
              memory.writeAtomically(QuillonPosixFileManager(), QuillonURL::fileURL((folder / "archive.zip").string()),
                                     {});
            }),
            EFBIG);

  EXPECT_EQ(testing::readFile(folder / "archive.zip"), "an older archive");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST(VeskUpdateInstallerDownloadMemoryTest, MoreThanTheLimitIsNotTaken) {
  VeskUpdateInstallerDownloadMemory memory(4);
  memory.append("abcd", {});

  EXPECT_EQ(failureOf([&] { memory.append("e", {}); }), EFBIG);
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
