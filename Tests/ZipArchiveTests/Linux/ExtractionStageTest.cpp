#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <optional>

#include "Support/ScopedMount.h"
#include "Support/TemporaryDirectory.h"
#include "Support/TreeSnapshot.h"
#include "ZipArchive/Posix/ExtractionStage.h"
#include "ZipArchive/ZipArchiveError.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::treeSnapshot;
using testing::writeFile;

class ExtractionStageTest : public ::testing::Test {
 protected:
  ExtractionStageTest() {
    writeFile(archive_, "archive");
    fs::create_directory(destination_);
    folder_ = FileDescriptor(open(destination_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    stage_.emplace(folder_.get());
  }

  [[nodiscard]] fs::path stagePath() const {
    for (const auto& entry : fs::directory_iterator(destination_)) {
      if (entry.path().filename().string().starts_with(ExtractionStage::kNamePrefix)) return entry.path();
    }
    return {};
  }
  void move(const std::function<void()>& finish = [] {}) {
    stage_->moveIntoDestination(ArchiveFile(archive_.string()), finish);
  }

  testing::TemporaryDirectory root_;
  fs::path archive_ = root_ / "archive";
  fs::path destination_ = root_ / "destination";
  FileDescriptor folder_;
  std::optional<ExtractionStage> stage_;
};

TEST_F(ExtractionStageTest, NobodyElseCanEnterTheStage) {
  EXPECT_EQ(fs::status(stagePath()).permissions(), fs::perms(0700));
}

TEST_F(ExtractionStageTest, AStageGoesAwayWithWhatIsInIt) {
  writeFile(stagePath() / "a/b", "x");
  fs::create_symlink(archive_, stagePath() / "link");

  stage_.reset();

  EXPECT_TRUE(fs::is_empty(destination_));
  EXPECT_TRUE(fs::exists(archive_));
}

TEST_F(ExtractionStageTest, AStageOfAKilledProcessIsRemovedByTheNext) {
  stage_.reset();
  const pid_t child = fork();
  if (child == 0) {
    stage_.emplace(folder_.get());
    writeFile(stagePath() / "a/b", "x");
    raise(SIGKILL);
  }
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  const fs::path abandoned = stagePath();
  ASSERT_TRUE(fs::exists(abandoned / "a/b"));

  stage_.emplace(folder_.get());

  EXPECT_FALSE(fs::exists(abandoned));
  EXPECT_TRUE(fs::exists(stagePath()));
}

TEST_F(ExtractionStageTest, AStageInUseStays) {
  const fs::path used = stagePath();
  { const ExtractionStage other(folder_.get()); }

  EXPECT_TRUE(fs::exists(used));
}

TEST_F(ExtractionStageTest, WhatOnlyHasTheNameOfAStageStays) {
  const auto named = [this](const std::string& name) {
    return destination_ / (std::string(ExtractionStage::kNamePrefix) + name);
  };
  writeFile(named("file"), "x");
  fs::create_directory(root_ / "elsewhere");
  fs::create_directory_symlink(root_ / "elsewhere", named("link"));
  if (geteuid() == 0) {
    fs::create_directory(named("other"));
    ASSERT_EQ(chown(named("other").c_str(), 65534, 65534), 0);
  }

  stage_.emplace(folder_.get());

  EXPECT_TRUE(fs::exists(named("file")));
  EXPECT_TRUE(fs::is_symlink(named("link")));
  EXPECT_TRUE(fs::exists(root_ / "elsewhere"));
  EXPECT_EQ(fs::exists(named("other")), geteuid() == 0);
}

TEST_F(ExtractionStageTest, ItemsMoveAndFoldersMerge) {
  writeFile(destination_ / "a/old", "old");
  writeFile(destination_ / "a/both", "old");
  writeFile(stagePath() / "a/both", "staged");
  writeFile(stagePath() / "b/c", "staged");

  move();
  stage_.reset();

  EXPECT_EQ(testing::readFile(destination_ / "a/old"), "old");
  EXPECT_EQ(testing::readFile(destination_ / "a/both"), "staged");
  EXPECT_EQ(testing::readFile(destination_ / "b/c"), "staged");
}

TEST_F(ExtractionStageTest, AMoveThatCannotBeCompletedIsTakenBack) {
  writeFile(destination_ / "a/file", "old");
  writeFile(destination_ / "z/folder/file", "old");
  const auto before = treeSnapshot(destination_ / "a");
  writeFile(stagePath() / "a/file", "staged");
  writeFile(stagePath() / "a/added", "staged");
  writeFile(stagePath() / "b", "staged");
  writeFile(stagePath() / "z/folder", "staged");

  EXPECT_THROW(move(), ZipArchiveError);
  stage_.reset();

  EXPECT_EQ(testing::readFile(destination_ / "a/file"), "old");
  EXPECT_FALSE(fs::exists(destination_ / "a/added"));
  EXPECT_FALSE(fs::exists(destination_ / "b"));
  EXPECT_EQ(testing::readFile(destination_ / "z/folder/file"), "old");
}

TEST_F(ExtractionStageTest, AMoveThatCannotBeFinishedIsTakenBackToo) {
  writeFile(destination_ / "file", "old");
  writeFile(stagePath() / "file", "staged");
  writeFile(stagePath() / "added", "staged");

  EXPECT_THROW(move([&] {
                 EXPECT_EQ(testing::readFile(destination_ / "file"), "staged");
                 throw ZipArchiveError("not finished");
               }),
               ZipArchiveError);

  EXPECT_EQ(testing::readFile(destination_ / "file"), "old");
  EXPECT_FALSE(fs::exists(destination_ / "added"));
}

TEST_F(ExtractionStageTest, AFileThatCannotBeReplacedIsAnError) {
  writeFile(destination_ / "file", "old");
  writeFile(stagePath() / "file", "staged");
  const testing::ScopedImmutable immutable(destination_ / "file");
  if (!immutable) GTEST_SKIP() << "this volume has no immutable files, or the process may not make them";

  EXPECT_THROW(move(), QuillonSystemError);
}

}  // namespace
}  // namespace quillon
