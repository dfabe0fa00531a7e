#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <stop_token>
#include <string>
#include <string_view>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Linux/VeskUpdateInstallerDownloadFile.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"
#include "Support/ScopedFileLengthLimit.h"
#include "Support/ScopedMount.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::ScopedMount;

const QuillonURL kMissing = QuillonURL::fileURL("/missing/folder");

/// Bytes that are not the same anywhere.
std::string pattern(std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; bytes.size() < size; ++i) bytes += std::to_string(i) + " ";
  bytes.resize(size);
  return bytes;
}

void appendInPieces(VeskUpdateInstallerDownloadBuffer& buffer, const std::string& bytes) {
  constexpr std::size_t kPiece = 50'000;
  for (std::size_t i = 0; i < bytes.size(); i += kPiece) buffer.append(std::string_view(bytes).substr(i, kPiece), {});
}

/// Two small volumes and a folder with room, and a place for what is downloaded.
class VeskUpdateInstallerDownloadBufferOnFullVolumesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!first_ || !second_) GTEST_SKIP() << "no volume can be mounted here";
  }
  [[nodiscard]] fs::path made(const char* name) const {
    fs::create_directory(folder_ / name);
    return folder_ / name;
  }
  [[nodiscard]] static QuillonURL url(const fs::path& item) { return QuillonURL::fileURL(item.string()); }
  std::string written(VeskUpdateInstallerDownloadBuffer& buffer) const {
    buffer.writeAtomically(QuillonPosixFileManager(), url(folder_ / "a.zip"), {});
    return readFile(folder_ / "a.zip");
  }

  const testing::TemporaryDirectory folder_;
  const fs::path firstFolder_ = made("first");
  const fs::path secondFolder_ = made("second");
  const fs::path roomyFolder_ = made("roomy");
  const ScopedMount first_{firstFolder_, "size=64k"};
  const ScopedMount second_{secondFolder_, "size=128k"};
};

TEST(VeskUpdateInstallerDownloadBufferTest, TheFirstFolderThatTakesAFileIsUsed) {
  const testing::TemporaryDirectory folder;
  const QuillonURL present = QuillonURL::fileURL(folder.path().string());
  if (!VeskUpdateInstallerDownloadFile::make(present)) GTEST_SKIP() << "the volume has no files without names";

  const auto buffer = makeSystemDownloadBuffer({kMissing, present});
  buffer->append("abc", {});
  buffer->writeAtomically(QuillonPosixFileManager(), QuillonURL::fileURL((folder / "a.zip").string()), {});
  buffer->append("def", {});

  EXPECT_EQ(readFile(folder / "a.zip"), "abcdef") << "it is a copy";
}

TEST(VeskUpdateInstallerDownloadBufferTest, WithoutAFolderMemoryIsUsed) {
  EXPECT_NE(dynamic_cast<VeskUpdateInstallerDownloadMemory*>(makeSystemDownloadBuffer({kMissing}).get()), nullptr);
  EXPECT_NE(dynamic_cast<VeskUpdateInstallerDownloadMemory*>(makeSystemDownloadBuffer({}).get()), nullptr);
}

TEST(VeskUpdateInstallerDownloadBufferTest, WhatAFileCannotHoldMemoryDoesWhereAFolderTakesNoFile) {
  const testing::TemporaryDirectory folder;
  const auto buffer = makeSystemDownloadBuffer({QuillonURL::fileURL(folder.path().string()), kMissing});
  const std::string bytes = pattern(300'000);
  {
    const testing::ScopedFileLengthLimit limit(120'000);
    appendInPieces(*buffer, bytes);
  }

  buffer->writeAtomically(QuillonPosixFileManager(), QuillonURL::fileURL((folder / "a.zip").string()), {});

  EXPECT_TRUE(readFile(folder / "a.zip") == bytes);
}

TEST_F(VeskUpdateInstallerDownloadBufferOnFullVolumesTest, AFolderThatIsTooFullIsFollowedByTheNext) {
  const auto buffer = makeSystemDownloadBuffer({url(firstFolder_), url(roomyFolder_)});

  buffer->reserve(1'000'000);
  buffer->append("abc", {});

  EXPECT_EQ(buffer->size(), 3U);
  EXPECT_EQ(written(*buffer), "abc");
}

TEST_F(VeskUpdateInstallerDownloadBufferOnFullVolumesTest, AFolderThatFillsUpIsFollowedByTheNext) {
  const auto buffer = makeSystemDownloadBuffer({url(firstFolder_), url(secondFolder_), url(roomyFolder_)});
  const std::string bytes = pattern(300'000);

  appendInPieces(*buffer, bytes);

  EXPECT_EQ(buffer->size(), bytes.size());
  EXPECT_TRUE(written(*buffer) == bytes);
  EXPECT_EQ(fs::space(firstFolder_).free, fs::space(firstFolder_).capacity) << "a part stayed behind";
  EXPECT_EQ(fs::space(secondFolder_).free, fs::space(secondFolder_).capacity) << "a part stayed behind";
}

TEST_F(VeskUpdateInstallerDownloadBufferOnFullVolumesTest, AFolderWithoutRoomForWhatIsAnnouncedIsPassedOverThenToo) {
  const auto buffer = makeSystemDownloadBuffer({url(firstFolder_), url(secondFolder_), url(roomyFolder_)});
  const std::string bytes = pattern(100'000);
  buffer->reserve(20'000);
  buffer->append(std::string_view(bytes).substr(0, 20'000), {});

  buffer->reserve(1'000'000);
  buffer->append(std::string_view(bytes).substr(20'000), {});

  EXPECT_TRUE(written(*buffer) == bytes);
  EXPECT_EQ(fs::space(secondFolder_).free, fs::space(secondFolder_).capacity) << "it was used";
}

TEST_F(VeskUpdateInstallerDownloadBufferOnFullVolumesTest, WhereNoFolderHasRoomTheReasonOfTheFirstIsTheError) {
  const auto reserved = makeSystemDownloadBuffer({url(firstFolder_), url(secondFolder_)});
  const auto appended = makeSystemDownloadBuffer({url(firstFolder_), url(secondFolder_)});

  const auto expectFull = [](const auto& action) {
    try {
      action();
      ADD_FAILURE() << "there was room";
    } catch (const QuillonSystemError& error) {
      EXPECT_TRUE(error.isPOSIX(ENOSPC)) << error.description();
    }
  };
  expectFull([&] { reserved->reserve(1'000'000); });
  expectFull([&] { appendInPieces(*appended, pattern(300'000)); });
}

TEST_F(VeskUpdateInstallerDownloadBufferOnFullVolumesTest, AStopEndsTheMoveToTheNextFolder) {
  const auto buffer = makeSystemDownloadBuffer({url(firstFolder_), url(roomyFolder_)});
  buffer->append(pattern(50'000), {});
  std::stop_source stop;
  stop.request_stop();

  EXPECT_THROW(buffer->append(pattern(50'000), stop.get_token()), QuillonCancellationError);
}

}  // namespace
}  // namespace quillon
