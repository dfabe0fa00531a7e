// What every file manager promises, run against the system's own and against the decorator that tests put around it.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/ExtendedAttributes.h"
#include "Support/FaultInjectingFileManager.h"
#include "Support/ScopedFileLengthLimit.h"
#include "Support/ScopedMount.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using testing::readFile;
using testing::TemporaryDirectory;
using testing::writeFile;

struct Implementation {
  friend void PrintTo(const Implementation& implementation, std::ostream* out) { *out << implementation.name; }

  std::string name;
  std::function<std::shared_ptr<const QuillonFileManaging>()> make;
};

class QuillonFileManagingContract : public ::testing::TestWithParam<Implementation> {
 protected:
  [[nodiscard]] QuillonURL url(const std::string& name) const { return QuillonURL::fileURL((folder / name).string()); }

  static void expectPOSIXError(int code, const std::function<void()>& action) {
    try {
      action();
      FAIL() << "no error";
    } catch (const QuillonSystemError& error) {
      EXPECT_TRUE(error.isPOSIX(code)) << error.what();
    }
  }

  TemporaryDirectory folder;
  std::shared_ptr<const QuillonFileManaging> files = GetParam().make();
};

TEST_P(QuillonFileManagingContract, StatusDescribesTheItemAndNotALinksTarget) {
  writeFile(folder / "file", "abc");
  fs::create_symlink("file", folder / "link");

  EXPECT_EQ(files->itemStatus(url("file"))->type, QuillonFileType::regular);
  EXPECT_EQ(files->itemStatus(url("file"))->size, 3U);
  EXPECT_EQ(files->itemStatus(url("link"))->type, QuillonFileType::symbolicLink);
  EXPECT_EQ(files->itemStatus(url(""))->type, QuillonFileType::directory);
  EXPECT_EQ(files->itemStatus(QuillonURL::fileURL("/"))->type, QuillonFileType::directory);
  EXPECT_FALSE(files->itemStatus(url("none")).has_value());
  EXPECT_FALSE(files->itemStatus(url("file/below")).has_value());
}

TEST_P(QuillonFileManagingContract, ExistenceFollowsLinks) {
  fs::create_directory(folder / "folder");
  fs::create_symlink("folder", folder / "link");
  fs::create_symlink("nowhere", folder / "dangling");

  EXPECT_TRUE(files->fileExists(url("link")));
  EXPECT_TRUE(files->directoryExists(url("link")));
  EXPECT_FALSE(files->fileExists(url("dangling")));
  EXPECT_FALSE(files->directoryExists(url("none")));
}

TEST_P(QuillonFileManagingContract, OnlyARegularFileWithAnExecuteBitIsExecutable) {
  writeFile(folder / "program", "#!/bin/sh\n");
  fs::permissions(folder / "program", fs::perms(0755));
  writeFile(folder / "text", "");
  fs::permissions(folder / "text", fs::perms(0644));
  fs::create_symlink("program", folder / "link");
  fs::create_symlink("nowhere", folder / "dangling");

  EXPECT_TRUE(files->isExecutableFile(url("program")));
  EXPECT_TRUE(files->isExecutableFile(url("link")));
  EXPECT_FALSE(files->isExecutableFile(url("text")));
  EXPECT_FALSE(files->isExecutableFile(url("")));
  EXPECT_FALSE(files->isExecutableFile(url("dangling")));
  EXPECT_FALSE(files->isExecutableFile(url("none")));
}

TEST_P(QuillonFileManagingContract, OnlyAFolderIsAWritableFolder) {
  fs::create_directory(folder / "folder");
  fs::create_symlink("folder", folder / "link");
  fs::create_symlink("nowhere", folder / "dangling");
  writeFile(folder / "program", "");
  fs::permissions(folder / "program", fs::perms(0777));

  EXPECT_TRUE(files->isWritableDirectory(url("folder")));
  EXPECT_TRUE(files->isWritableDirectory(url("link")));
  EXPECT_FALSE(files->isWritableDirectory(url("dangling")));
  EXPECT_FALSE(files->isWritableDirectory(url("program")));
  EXPECT_FALSE(files->isWritableDirectory(url("none")));
}

TEST_P(QuillonFileManagingContract, AFolderIsWritableOnlyWithTheRightsToCreateItemsInIt) {
  fs::permissions(folder.path(), fs::perms(0755));
  for (const auto& [name, mode] : {std::pair{"both", 0777}, {"read", 0555}, {"write", 0666}}) {
    fs::create_directory(folder / name);
    fs::permissions(folder / name, fs::perms(mode));
  }

  const pid_t child = fork();
  if (child == 0) {
    const bool isOrdinary = geteuid() != 0 || setuid(65534) == 0;
    _exit(isOrdinary && files->isWritableDirectory(url("both")) && !files->isWritableDirectory(url("read")) &&
                  !files->isWritableDirectory(url("write"))
              ? 0
              : 1);
  }

  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST_P(QuillonFileManagingContract, ReadsAFileUpToALimit) {
  writeFile(folder / "file", "12345");

  EXPECT_EQ(files->contentsOfFile(url("file"), 5), "12345");
  expectPOSIXError(EFBIG, [&] { (void)files->contentsOfFile(url("file"), 4); });
}

TEST_P(QuillonFileManagingContract, ReadsNothingButRegularFilesAndNeverBlocks) {
  ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
  writeFile(folder / "file", "1");
  fs::create_symlink("file", folder / "link");

  expectPOSIXError(EINVAL, [&] { (void)files->contentsOfFile(url("fifo"), 10); });
  expectPOSIXError(EISDIR, [&] { (void)files->contentsOfFile(url(""), 10); });
  expectPOSIXError(ELOOP, [&] { (void)files->contentsOfFile(url("link"), 10); });
  expectPOSIXError(ENOENT, [&] { (void)files->contentsOfFile(url("none"), 10); });
}

TEST_P(QuillonFileManagingContract, ListsNamesInByteOrder) {
  for (const char* name : {"b", "a", ".hidden", "B"}) writeFile(folder / name, "");

  EXPECT_THAT(files->contentsOfDirectory(url("")), ElementsAre(".hidden", "B", "a", "b"));
  expectPOSIXError(ENOENT, [&] { (void)files->contentsOfDirectory(url("none")); });
}

TEST_P(QuillonFileManagingContract, ResolvesLinks) {
  fs::create_directory(folder / "real");
  fs::create_symlink("real", folder / "link");

  EXPECT_EQ(files->resolvingSymbolicLinks(url("link/../link")), url("real"));
}

TEST_P(QuillonFileManagingContract, CreatesFoldersWithAllMissingOnesAbove) {
  files->createDirectory(url("a/b/c"));
  files->createDirectory(url("a/b/c"));

  EXPECT_TRUE(fs::is_directory(folder / "a/b/c"));
  writeFile(folder / "file", "");
  expectPOSIXError(ENOTDIR, [&] { files->createDirectory(url("file/below")); });
}

TEST_P(QuillonFileManagingContract, PrivateFolderIsClosedAndItsLocationFollowsItsRenaming) {
  const auto pinned = files->createPrivateDirectory(url("closed"));
  EXPECT_EQ(files->itemStatus(url("closed"))->permissions, 0700U);

  fs::rename(folder / "closed", folder / "elsewhere");
  fs::create_directory(folder / "closed");
  files->createFile(pinned->url().appendingPathComponent("file"), "x");

  EXPECT_EQ(readFile(folder / "elsewhere/file"), "x");
  EXPECT_TRUE(fs::is_empty(folder / "closed"));
  expectPOSIXError(EEXIST, [&] { (void)files->createPrivateDirectory(url("closed")); });
}

TEST_P(QuillonFileManagingContract, PinsAFolderButNoLink) {
  fs::create_directory(folder / "folder");
  writeFile(folder / "folder/file", "x");
  fs::create_symlink("folder", folder / "link");

  const auto pinned = files->pinDirectory(url("folder"));
  fs::rename(folder / "folder", folder / "moved");

  EXPECT_EQ(files->contentsOfFile(pinned->url().appendingPathComponent("file"), 10), "x");
  EXPECT_THROW((void)files->pinDirectory(url("link")), QuillonSystemError);
}

TEST_P(QuillonFileManagingContract, OtherProgramsAreLedToTheItemOfAPinnedFolderThatWasRenamed) {
  writeFile(folder / "folder/file", "x");
  const auto pinned = files->pinDirectory(url("folder"));
  fs::rename(folder / "folder", folder / "moved");
  const QuillonURL file = pinned->url().appendingPathComponent("file");

  const std::string path = files->pathForOtherPrograms(file);

  EXPECT_EQ(files->itemStatus(QuillonURL::fileURL(path)), files->itemStatus(url("moved/file")));
  EXPECT_FALSE(path.starts_with("/.vol/")) << "codesign(1) takes no such path";
  EXPECT_EQ(files->pathForOtherPrograms(url("moved/file")), url("moved/file").path());
}

TEST_P(QuillonFileManagingContract, AtomicWriteReplacesAFileOrALinkAndLeavesNothingElse) {
  writeFile(folder / "target", "untouched");
  fs::create_symlink("target", folder / "file");

  files->writeFileAtomically(url("file"), "first");
  files->writeFileAtomically(url("file"), "second");

  EXPECT_EQ(readFile(folder / "file"), "second");
  EXPECT_EQ(readFile(folder / "target"), "untouched");
  EXPECT_THAT(files->contentsOfDirectory(url("")), ElementsAre("file", "target"));
  EXPECT_EQ(files->itemStatus(url("file"))->permissions, 0644U);
}

TEST_P(QuillonFileManagingContract, AtomicWriteOverAFolderFailsAndLeavesNothingBehind) {
  fs::create_directory(folder / "folder");

  expectPOSIXError(EISDIR, [&] { files->writeFileAtomically(url("folder"), "x"); });

  EXPECT_THAT(files->contentsOfDirectory(url("")), ElementsAre("folder"));
}

TEST_P(QuillonFileManagingContract, CreatesAFileOnlyWhereNothingIs) {
  files->createFile(url("file"), "x");

  EXPECT_EQ(readFile(folder / "file"), "x");
  expectPOSIXError(EEXIST, [&] { files->createFile(url("file"), "y"); });
  fs::create_symlink("nowhere", folder / "link");
  expectPOSIXError(EEXIST, [&] { files->createFile(url("link"), "y"); });
}

TEST_P(QuillonFileManagingContract, MovesWhatIsThereToWhereNothingIs) {
  writeFile(folder / "a/file", "x");
  fs::create_directory(folder / "taken");

  files->moveItem(url("a"), url("b"));

  EXPECT_EQ(readFile(folder / "b/file"), "x");
  expectPOSIXError(EEXIST, [&] { files->moveItem(url("b"), url("taken")); });
  expectPOSIXError(ENOENT, [&] { files->moveItem(url("none"), url("c")); });
}

TEST_P(QuillonFileManagingContract, CopyKeepsContentsLinksModesTimesAndAttributes) {
  writeFile(folder / "tree/sub/file", "content");
  fs::permissions(folder / "tree/sub/file", fs::perms(0540));
  fs::create_symlink("../elsewhere", folder / "tree/link");
  const bool hasAttributes = testing::setAttribute(folder / "tree/sub", "user.quillon.test", "v");
  const auto time = fs::last_write_time(folder / "tree/sub/file") - std::chrono::hours(50);
  fs::last_write_time(folder / "tree/sub/file", time);
  fs::permissions(folder / "tree/sub", fs::perms(0550));

  files->copyItem(url("tree"), url("copy"));

  EXPECT_EQ(readFile(folder / "copy/sub/file"), "content");
  EXPECT_EQ(files->itemStatus(url("copy/sub/file"))->permissions, 0540U);
  EXPECT_EQ(files->itemStatus(url("copy/sub"))->permissions, 0550U);
  EXPECT_EQ(fs::read_symlink(folder / "copy/link"), "../elsewhere");
  EXPECT_EQ(fs::last_write_time(folder / "copy/sub/file"), time);
  if (hasAttributes) {
    EXPECT_EQ(testing::attribute(folder / "copy/sub", "user.quillon.test"), "v");
  }
  fs::permissions(folder / "tree/sub", fs::perms(0750));
  fs::permissions(folder / "copy/sub", fs::perms(0750));
}

TEST_P(QuillonFileManagingContract, CopyGainsNoSetIdRights) {
  writeFile(folder / "tool", "x");
  ASSERT_EQ(chmod((folder / "tool").c_str(), 06755), 0);

  files->copyItem(url("tool"), url("copy"));

  EXPECT_EQ(files->itemStatus(url("copy"))->permissions, 0755U);
}

TEST_P(QuillonFileManagingContract, ACopyOfRootsLetsNobodyElseWrite) {
  if (geteuid() != 0) GTEST_SKIP() << "a copy of one's own keeps its modes";
  writeFile(folder / "tree/tool", "x");
  ASSERT_EQ(chmod((folder / "tree/tool").c_str(), 0777), 0);
  ASSERT_EQ(chmod((folder / "tree").c_str(), 01777), 0);
  const bool hasLists = testing::setAccessListForOther(folder / "tree/tool");

  files->copyItem(url("tree"), url("copy"));

  EXPECT_EQ(files->itemStatus(url("copy"))->permissions, 0755U);
  EXPECT_EQ(files->itemStatus(url("copy/tool"))->permissions, 0755U);
  if (hasLists) {
    EXPECT_FALSE(testing::hasAccessList(folder / "copy/tool"));
  }
}

TEST_P(QuillonFileManagingContract, CopyOfASpecialFileFailsAndLeavesNothing) {
  writeFile(folder / "tree/file", "x");
  ASSERT_EQ(mkfifo((folder / "tree/zfifo").c_str(), 0600), 0);

  expectPOSIXError(EINVAL, [&] { files->copyItem(url("tree"), url("copy")); });

  EXPECT_FALSE(fs::exists(folder / "copy"));
}

TEST_P(QuillonFileManagingContract, CopyThatMayNotBeThatLongFailsAndLeavesNothing) {
  writeFile(folder / "tree/file", std::string(2000, 'x'));
  const testing::ScopedFileLengthLimit limit(1000);

  expectPOSIXError(EFBIG, [&] { files->copyItem(url("tree"), url("copy")); });

  EXPECT_FALSE(fs::exists(folder / "copy"));
}

TEST_P(QuillonFileManagingContract, CopyTouchesNothingThatIsThere) {
  writeFile(folder / "tree/file", "x");
  writeFile(folder / "copy/other", "y");

  expectPOSIXError(EEXIST, [&] { files->copyItem(url("tree"), url("copy")); });

  EXPECT_EQ(readFile(folder / "copy/other"), "y");
}

TEST_P(QuillonFileManagingContract, RemovalTakesATreeAndNoLinksTarget) {
  writeFile(folder / "outside/file", "x");
  writeFile(folder / "tree/sub/file", "x");
  fs::create_directory_symlink(folder / "outside", folder / "tree/link");
  fs::create_directory_symlink(folder / "outside", folder / "alone");
  fs::create_directory(folder / "tree/locked");
  writeFile(folder / "tree/locked/file", "x");
  fs::permissions(folder / "tree/locked", fs::perms(0500));

  files->removeItem(url("tree"));
  files->removeItem(url("alone"));

  EXPECT_THAT(files->contentsOfDirectory(url("")), ElementsAre("outside"));
  EXPECT_EQ(readFile(folder / "outside/file"), "x");
  expectPOSIXError(ENOENT, [&] { files->removeItem(url("tree")); });
}

TEST_P(QuillonFileManagingContract, RemovalStopsAtAnotherVolume) {
  fs::create_directories(folder / "tree/mounted");
  const testing::ScopedMount mount(folder / "tree/mounted", "size=1m");
  if (!mount) GTEST_SKIP() << "cannot mount a volume here";
  writeFile(folder / "tree/mounted/file", "x");

  expectPOSIXError(EXDEV, [&] { files->removeItem(url("tree")); });

  EXPECT_EQ(readFile(folder / "tree/mounted/file"), "x");
}

TEST_P(QuillonFileManagingContract, RemovesAnEmptyFolderOnly) {
  fs::create_directory(folder / "empty");
  writeFile(folder / "full/file", "x");

  files->removeEmptyDirectory(url("empty"));

  EXPECT_FALSE(fs::exists(folder / "empty"));
  expectPOSIXError(ENOTEMPTY, [&] { files->removeEmptyDirectory(url("full")); });
}

TEST_P(QuillonFileManagingContract, DeepTreesAreCopiedAndRemovedWithFewDescriptors) {
  // Deeper than a path may be long and than descriptors may be open.
  const std::string name(40, 'd');
  int current = open(folder.path().c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_EQ(mkdirat(current, "deep", 0755), 0);
  std::string step = "deep";
  for (int i = 0; i < 1200; ++i) {
    const int next = openat(current, step.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(next, 0);
    close(current);
    current = next;
    step = name;
    ASSERT_EQ(mkdirat(current, step.c_str(), 0755), 0);
  }
  close(current);

  files->copyItem(url("deep"), url("copy"));
  files->removeItem(url("deep"));
  files->removeItem(url("copy"));

  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_P(QuillonFileManagingContract, OwnersAreChangedOfLinksThemselvesAndOfEverythingBelow) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  writeFile(folder / "outside", "x");
  writeFile(folder / "tree/sub/.hidden", "x");
  fs::create_symlink("../outside", folder / "tree/link");

  files->changeOwner(url("tree/link"), 1234, 2345);
  files->changeOwnerOfDescendants(url("tree"), 3456, 4567);

  EXPECT_EQ(files->itemStatus(url("outside"))->userIdentifier, 0U);
  EXPECT_EQ(files->itemStatus(url("tree"))->userIdentifier, 0U);
  for (const char* item : {"tree/link", "tree/sub", "tree/sub/.hidden"}) {
    EXPECT_EQ(files->itemStatus(url(item))->userIdentifier, 3456U) << item;
    EXPECT_EQ(files->itemStatus(url(item))->groupIdentifier, 4567U) << item;
  }
}

TEST_P(QuillonFileManagingContract, AFileIsGivenAwayOnlyWhenItsBytesAreApprovedAndItHasOneName) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  writeFile(folder / "good", "good");
  writeFile(folder / "bad", "bad");
  writeFile(folder / "linked", "good");
  fs::create_hard_link(folder / "linked", folder / "second name");
  fs::create_symlink("good", folder / "link");
  const auto approves = [](std::string_view bytes) { return bytes == "good"; };

  EXPECT_TRUE(files->changeOwnerOfFile(url("good"), 1234, 2345, 10, approves));
  EXPECT_FALSE(files->changeOwnerOfFile(url("bad"), 1234, 2345, 10, approves));
  EXPECT_FALSE(files->changeOwnerOfFile(url("linked"), 1234, 2345, 10, approves));
  expectPOSIXError(ELOOP, [&] { (void)files->changeOwnerOfFile(url("link"), 1234, 2345, 10, approves); });

  EXPECT_EQ(files->itemStatus(url("good"))->userIdentifier, 1234U);
  EXPECT_EQ(files->itemStatus(url("bad"))->userIdentifier, 0U);
}

TEST_P(QuillonFileManagingContract, QuarantineMarksAreTakenOffEveryItem) {
  writeFile(folder / "tree/sub/file", "x");
  fs::create_symlink("/nowhere", folder / "tree/link");
  for (const char* item : {"tree", "tree/sub", "tree/sub/file"}) {
    if (!testing::setAttribute(folder / item, testing::kQuarantineAttribute, "q")) {
      GTEST_SKIP() << "this volume holds no extended attributes";
    }
  }

  EXPECT_FALSE(files->releaseQuarantine(url("tree")).has_value());

  for (const char* item : {"tree", "tree/sub", "tree/sub/file"}) {
    EXPECT_EQ(testing::attribute(folder / item, testing::kQuarantineAttribute), std::nullopt) << item;
  }
}

TEST_P(QuillonFileManagingContract, AReadOnlyFileWithoutAMarkHasNoneToKeep) {
  if (geteuid() == 0) {
    ASSERT_EQ(chown(folder.path().c_str(), 65534, 65534), 0);
  }
  writeFile(folder / "tree/file", "x");
  for (const char* item : {"tree", "tree/file"}) {
    if (geteuid() == 0) {
      ASSERT_EQ(chown((folder / item).c_str(), 65534, 65534), 0);
    }
  }
  ASSERT_EQ(chmod((folder / "tree/file").c_str(), 0444), 0);

  const pid_t child = fork();
  if (child == 0) {
    const bool isOrdinary = geteuid() != 0 || setuid(65534) == 0;
    _exit(isOrdinary && !files->releaseQuarantine(url("tree")) ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST_P(QuillonFileManagingContract, QuarantineIsTakenOffPastAFolderThatCannotBeOpened) {
  writeFile(folder / "tree/a/file", "x");
  writeFile(folder / "tree/b", "x");
  const bool hasAttributes = testing::setAttribute(folder / "tree/b", testing::kQuarantineAttribute, "q");
  if (!hasAttributes) GTEST_SKIP() << "this volume holds no extended attributes";
  if (geteuid() == 0) {
    for (const char* item : {"", "tree", "tree/a", "tree/b"}) {
      ASSERT_EQ(chown((folder / item).c_str(), 65534, 65534), 0);
    }
  }
  ASSERT_EQ(chmod((folder / "tree/a").c_str(), 0), 0);

  const pid_t child = fork();
  if (child == 0) {
    const bool isOrdinary = geteuid() != 0 || setuid(65534) == 0;
    const auto failure = files->releaseQuarantine(url("tree"));
    _exit(isOrdinary && failure && failure->code == EACCES && failure->itemURL.lastPathComponent() == "a" ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(testing::attribute(folder / "tree/b", testing::kQuarantineAttribute), std::nullopt);
  ASSERT_EQ(chmod((folder / "tree/a").c_str(), 0700), 0);
}

TEST_P(QuillonFileManagingContract, FlushesAVolume) {
  EXPECT_NO_THROW(files->synchronizeVolume(url("")));
  expectPOSIXError(ENOENT, [&] { files->synchronizeVolume(url("none")); });
}

TEST_P(QuillonFileManagingContract, NamesNoItemByTwoPeriodsOrTheRoot) {
  expectPOSIXError(EINVAL, [&] { files->removeItem(url("x/..")); });
  expectPOSIXError(EINVAL, [&] { files->removeItem(QuillonURL::fileURL("/")); });
}

INSTANTIATE_TEST_SUITE_P(
    All, QuillonFileManagingContract,
    ::testing::Values(Implementation{"System", [] { return std::make_shared<const QuillonPosixFileManager>(); }},
                      Implementation{"FaultInjectingWithoutFault",
                                     [] {
                                       return std::make_shared<const testing::FaultInjectingFileManager>(
                                           std::make_shared<const QuillonPosixFileManager>());
                                     }}),
    [](const auto& implementation) { return implementation.param.name; });

}  // namespace
}  // namespace quillon
