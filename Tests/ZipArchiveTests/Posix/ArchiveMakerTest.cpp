#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <random>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "Support/ScopedFileLengthLimit.h"
#include "Support/TemporaryDirectory.h"
#include "Support/TreeSnapshot.h"
#include "ZipArchive/AppleDouble.h"
#include "ZipArchive/Posix/ArchiveExtractor.h"
#include "ZipArchive/Posix/ArchiveFile.h"
#include "ZipArchive/Posix/ArchiveMaker.h"
#include "ZipArchive/ZipArchiveError.h"
#include "ZipArchive/ZipDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::readFile;
using testing::treeSnapshot;
using testing::writeFile;

class ArchiveMakerTest : public ::testing::Test {
 protected:
  void make(ArchiveRoot root = ArchiveRoot::contents, const ZipArchiveLimits& limits = {}) const {
    makeArchive(source_.string(), archive_.string(), root, limits, {});
  }
  /// The message of the refusal. Fails the test when there is none, or when it changes anything.
  [[nodiscard]] std::string refusal(const ZipArchiveLimits& limits = {}) const {
    writeFile(archive_, "old");
    const auto before = treeSnapshot(folder_.path());
    std::string message;
    try {
      make(ArchiveRoot::contents, limits);
      ADD_FAILURE() << "not refused";
    } catch (const ZipArchiveError& error) {
      message = error.description();
    }
    EXPECT_EQ(treeSnapshot(folder_.path()), before);
    return message;
  }
  void extract() const { extractArchive(archive_.string(), destination_.string(), {}, {}); }
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const ZipEntry& entry : readZipDirectory(ArchiveFile(archive_.string()), {})) names.push_back(entry.rawName);
    return names;
  }

  testing::TemporaryDirectory folder_;
  fs::path source_ = folder_ / "Example.app";
  fs::path archive_ = folder_ / "Example.zip";
  fs::path destination_ = folder_ / "unpacked";
};

void setTime(const fs::path& item, long seconds) {
  const std::array<timespec, 2> times{timespec{seconds, 0}, timespec{seconds, 0}};
  utimensat(AT_FDCWD, item.c_str(), times.data(), AT_SYMLINK_NOFOLLOW);
}

/// A tree of every kind of item, chosen by `seed`.
void makeRandomTree(const fs::path& root, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<fs::path> folders{root};
  fs::create_directory(root);
  for (int i = 0; i < 40; ++i) {
    const fs::path item = folders[random() % folders.size()] / ("größe " + std::to_string(i));
    switch (random() % 4) {
      case 0:
        fs::create_directory(item);
        folders.push_back(item);
        break;
      case 1:
        fs::create_symlink("target " + std::to_string(i), item);
        break;
      default:
        writeFile(item,
                  std::string(random() % 3 == 0 ? random() % 300'000 : random() % 100, static_cast<char>(random())));
        fs::permissions(item, fs::perms(0600 | random() % 0200));
    }
    if (!fs::is_symlink(item) && random() % 3 == 0)
      setxattr(item.c_str(), "user.org.example", "value", random() % 6, 0);
    setTime(item, static_cast<long>(random() % 2'000'000'000));
  }
  for (const fs::path& item : folders) setTime(item, static_cast<long>(random() % 2'000'000'000));
}

TEST_F(ArchiveMakerTest, EveryTreeComesBackAsItWas) {
  for (unsigned seed = 0; seed < 8; ++seed) {
    SCOPED_TRACE(seed);
    const testing::TemporaryDirectory folder;
    makeRandomTree(folder / "source", seed);

    makeArchive((folder / "source").string(), (folder / "archive").string(), ArchiveRoot::contents, {}, {});
    extractArchive((folder / "archive").string(), (folder / "unpacked").string(), {}, {});

    EXPECT_EQ(treeSnapshot(folder / "unpacked"), treeSnapshot(folder / "source"));
  }
}

TEST_F(ArchiveMakerTest, LargeFilesAreCompressedPieceByPiece) {
  std::string text;
  for (int i = 0; i < 3000; ++i) text += std::to_string(i);
  while (text.size() < 9'000'000) text += text;
  writeFile(source_ / "large", text);
  setxattr((source_ / "large").c_str(), "user.a", "b", 1, 0);
  writeFile(source_ / "small", "content");

  make();
  extract();

  EXPECT_TRUE(treeSnapshot(destination_) == treeSnapshot(source_));
  EXPECT_LT(fs::file_size(archive_), text.size() / 2);
}

TEST_F(ArchiveMakerTest, TheArchiveHoldsWhatIsInTheFolderOrTheFolderItself) {
  writeFile(source_ / "Contents/b", "");
  writeFile(source_ / "Contents/a", "");

  make(ArchiveRoot::contents);
  EXPECT_THAT(names(), ElementsAre("Contents/", "Contents/a", "Contents/b"));

  make(ArchiveRoot::sourceItself);
  EXPECT_THAT(names(),
              ElementsAre("Example.app/", "Example.app/Contents/", "Example.app/Contents/a", "Example.app/Contents/b"));
}

TEST_F(ArchiveMakerTest, ASingleFileKeepsItsName) {
  writeFile(source_, "content");

  make();

  EXPECT_THAT(names(), ElementsAre("Example.app"));
}

TEST_F(ArchiveMakerTest, AttributesStandWhereMacOSLooksForThem) {
  writeFile(source_ / "Contents/tool", "x");
  setxattr((source_ / "Contents/tool").c_str(), "user.com.apple.cs.CodeDirectory", "s", 1, 0);

  make(ArchiveRoot::sourceItself);

  EXPECT_THAT(names(), ElementsAre("Example.app/", "Example.app/Contents/", "Example.app/Contents/tool",
                                   "__MACOSX/Example.app/Contents/._tool"));
}

TEST_F(ArchiveMakerTest, TheSameTreeGivesTheSameBytes) {
  makeRandomTree(source_, 1);
  make();
  const std::string first = readFile(archive_);

  make();

  EXPECT_TRUE(readFile(archive_) == first);
}

TEST_F(ArchiveMakerTest, SpecialFilesAreRefusedAndTheOldArchiveStays) {
  writeFile(archive_, "old");
  fs::create_directory(source_);
  mkfifo((source_ / "pipe").c_str(), 0600);

  EXPECT_THROW(make(), ZipArchiveError);

  EXPECT_EQ(readFile(archive_), "old");
}

TEST_F(ArchiveMakerTest, NamesThatAreNoUTF8AreRefused) {
  writeFile(source_ / "a\xFF", "");

  EXPECT_THROW(make(), ZipArchiveError);
}

TEST_F(ArchiveMakerTest, AnArchiveThatLiesInItsOwnSourceIsRefused) {
  archive_ = source_ / "Example.zip";
  writeFile(archive_, "old");

  EXPECT_THROW(make(), ZipArchiveError);

  EXPECT_EQ(treeSnapshot(source_).size(), 1U);
  EXPECT_EQ(readFile(archive_), "old");
}

TEST_F(ArchiveMakerTest, AnArchiveIsNotMadeInItsOwnSource) {
  writeFile(source_ / "Contents/file", "content");
  for (const fs::path& folder : {source_, source_ / "Contents"}) {
    archive_ = folder / "Example.zip";

    EXPECT_THROW(make(ArchiveRoot::contents), ZipArchiveError);
    EXPECT_THROW(make(ArchiveRoot::sourceItself), ZipArchiveError);

    EXPECT_EQ(treeSnapshot(source_).size(), 2U);
  }
}

TEST_F(ArchiveMakerTest, AnArchiveMayStandBesideItsSource) {
  writeFile(source_ / "file", "content");

  make(ArchiveRoot::sourceItself);

  EXPECT_THAT(names(), ElementsAre("Example.app/", "Example.app/file"));
}

TEST_F(ArchiveMakerTest, OnlyFilesAreReplacedByAnArchive) {
  writeFile(source_ / "file", "content");
  mkfifo(archive_.c_str(), 0600);

  EXPECT_THROW(make(), QuillonSystemError);

  EXPECT_TRUE(fs::is_fifo(archive_));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()), 2);
}

TEST_F(ArchiveMakerTest, ALinkIsReplacedByTheArchiveAndNotWrittenThrough) {
  writeFile(source_ / "file", "content");
  writeFile(folder_ / "target", "old");
  fs::create_symlink("target", archive_);

  make();

  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(archive_)));
  EXPECT_EQ(readFile(folder_ / "target"), "old");
}

TEST_F(ArchiveMakerTest, NamesThatDifferInCaseOrCompositionOnlyAreRefused) {
  for (const auto& [first, second] : {std::pair("Readme", "README"), std::pair("gr\u00FC\u00DF", "gru\u0308ss")}) {
    const testing::TemporaryDirectory folder;
    writeFile(folder / "source/Contents" / first, "");
    writeFile(folder / "source/Contents" / second, "");

    EXPECT_THROW(
        makeArchive((folder / "source").string(), (folder / "archive").string(), ArchiveRoot::contents, {}, {}),
        ZipArchiveError);
  }
}

TEST_F(ArchiveMakerTest, TheFolderForAttributesIsNoItemsName) {
  writeFile(source_ / "Contents/__MACOSX/file", "deeper it is a name like any other");
  make();
  extract();
  EXPECT_EQ(treeSnapshot(destination_), treeSnapshot(source_));
  writeFile(source_ / "__MacOSX/file", "");

  EXPECT_THROW(make(), ZipArchiveError);
  EXPECT_NO_THROW(make(ArchiveRoot::sourceItself));
}

TEST_F(ArchiveMakerTest, NamesThatAreTooLongForUnpackingAreRefused) {
  writeFile(source_ / std::string(255, 'a'), "");
  EXPECT_NO_THROW(make());
  setxattr((source_ / std::string(255, 'a')).c_str(), "user.a", "b", 1, 0);
  EXPECT_THROW(make(), ZipArchiveError);  // that of its attributes is longer

  fs::path deep = folder_ / "deep";
  for (int i = 0; i < 101; ++i) deep /= "a";
  fs::create_directories(deep);

  EXPECT_THROW(makeArchive((folder_ / "deep").string(), archive_.string(), ArchiveRoot::contents, {}, {}),
               ZipArchiveError);
}

TEST_F(ArchiveMakerTest, LinksThatLeadOutAreRefused) {
  writeFile(source_ / "Contents/file", "content");
  fs::create_symlink("../..", source_ / "Contents/up");
  EXPECT_THAT(refusal(), HasSubstr("\"Contents/up\" is a symbolic link that leads out"));
  fs::remove(source_ / "Contents/up");

  for (const char* target : {"/etc/passwd", "..", "Contents/Current/../file"}) {
    fs::create_symlink(".", source_ / "Contents/Current");
    fs::create_symlink(target, source_ / "link");
    EXPECT_THAT(refusal(), HasSubstr("\"link\" is a symbolic link that leads out of the destination")) << target;
    fs::remove(source_ / "link");
    fs::remove(source_ / "Contents/Current");
  }
}

TEST_F(ArchiveMakerTest, ALinkThatStaysInTheFolderWhichTheArchiveHoldsIsKept) {
  fs::create_directory(source_);
  fs::create_symlink("../Example.app", source_ / "link");

  make(ArchiveRoot::sourceItself);
  extract();

  EXPECT_EQ(fs::read_symlink(destination_ / "Example.app/link"), "../Example.app");
}

TEST_F(ArchiveMakerTest, ALinkThatIsTooLongForUnpackingIsRefused) {
  fs::create_directory(source_);
  fs::create_symlink(std::string(1024, 'a'), source_ / "link");

  EXPECT_THAT(refusal(), HasSubstr("target of impossible length"));
}

TEST_F(ArchiveMakerTest, WhatUnpackingTakesForABombIsRefused) {
  writeFile(source_ / "zeros", std::string(1'000'000, '\0'));
  writeFile(source_ / "file", "content");

  EXPECT_THAT(refusal({.unratedSize = 500'000}), HasSubstr("more than 200 times its length"));
  EXPECT_THAT(refusal({.totalSize = 999'999}), HasSubstr("more than 999999 bytes"));
  EXPECT_THAT(refusal({.entries = 1}), HasSubstr("more than 1 entries"));
}

TEST_F(ArchiveMakerTest, AttributesThatAreTooLongForUnpackingAreRefused) {
  writeFile(source_ / "file", "content");
  setxattr((source_ / "file").c_str(), "user.a", "b", 1, 0);

  EXPECT_THAT(refusal({.appleDoubleSize = 10}), HasSubstr("too large for an AppleDouble file"));
}

TEST_F(ArchiveMakerTest, AFileThatUnpackingWouldTakeForAttributesIsRefused) {
  const std::string attributes = makeAppleDouble({{"org.example", "value"}});
  for (const char* name : {"._file", "._missing"}) {
    writeFile(source_ / "file", "content");
    writeFile(source_ / name, attributes);

    EXPECT_THAT(refusal(), HasSubstr(std::string(name) + "\" is an AppleDouble file"));

    fs::remove(source_ / name);
  }
}

TEST_F(ArchiveMakerTest, AFileThatOnlyHasTheNameOfAnAppleDoubleFileIsKept) {
  writeFile(source_ / "notes", "content");
  writeFile(source_ / "._notes", "text");
  setxattr((source_ / "notes").c_str(), "user.a", "b", 1, 0);

  make();
  extract();

  EXPECT_EQ(treeSnapshot(destination_), treeSnapshot(source_));
}

TEST_F(ArchiveMakerTest, AnUnreadableItemIsAnErrorAndLeavesNothing) {
  writeFile(source_ / "file", "content");
  fs::permissions(source_ / "file", fs::perms::none);
  fs::permissions(folder_.path(), fs::perms(0777));
  constexpr uid_t kNobody = 65534;
  constexpr int kRefused = 3;
  const auto makeAsNobody = [&] {
    if (geteuid() == 0 && setuid(kNobody) != 0) _exit(1);
    try {
      make();
    } catch (const QuillonSystemError& error) {
      _exit(error.isPOSIX(EACCES) ? kRefused : 1);
    }
    _exit(0);
  };

  EXPECT_EXIT(makeAsNobody(), ::testing::ExitedWithCode(kRefused), "");

  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()), 1);
}

TEST_F(ArchiveMakerTest, AFullVolumeLeavesNothing) {
  std::mt19937 random(1);
  std::string noise;
  while (noise.size() < 100'000) noise += static_cast<char>(random());
  writeFile(source_ / "file", noise);
  {
    const testing::ScopedFileLengthLimit limit(50'000);
    EXPECT_THROW(make(), QuillonSystemError);
  }

  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()), 1);
}

TEST_F(ArchiveMakerTest, ARequestToStopLeavesNothing) {
  writeFile(source_ / "file", "content");
  std::stop_source source;
  source.request_stop();

  EXPECT_THROW(makeArchive(source_.string(), archive_.string(), ArchiveRoot::contents, {}, source.get_token()),
               QuillonCancellationError);

  EXPECT_FALSE(fs::exists(archive_));
}

TEST_F(ArchiveMakerTest, AMissingSourceIsAnError) {
  EXPECT_THROW(make(), QuillonSystemError);
}

}  // namespace
}  // namespace quillon
