#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <thread>

#include "QuillonCore/Runtime/Posix/QuillonFileLock.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryDirectory;
using testing::writeFile;

class QuillonFileLockTest : public ::testing::Test {
 protected:
  [[nodiscard]] QuillonURL url(std::string_view name) const { return QuillonURL::fileURL((folder_ / name).string()); }

  [[nodiscard]] bool isFree() const {
    const FileDescriptor file(open((folder_ / "lock").c_str(), O_RDWR | O_CLOEXEC));
    return flock(file.get(), LOCK_SH | LOCK_NB) == 0;
  }

  void expectFailure(int code, std::string_view name) const {
    try {
      const QuillonFileLock lock(url(name));
      ADD_FAILURE() << "locked";
    } catch (const QuillonSystemError& error) {
      EXPECT_TRUE(error.isPOSIX(code)) << error.what();
    }
  }

  TemporaryDirectory folder_;
};

TEST_F(QuillonFileLockTest, ALockIsHeldWhileTheObjectLivesAndTheFileStays) {
  {
    const QuillonFileLock lock(url("lock"));
    EXPECT_FALSE(isFree());
  }

  EXPECT_TRUE(isFree());
  struct stat status {};
  ASSERT_EQ(stat((folder_ / "lock").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(QuillonFileLockTest, ThreadsExcludeEachOther) {
  std::atomic<int> inside = 0;
  std::atomic<int> together = 0;
  const auto count = [&] {
    for (int i = 0; i < 200; ++i) {
      const QuillonFileLock lock(url("lock"));
      if (++inside != 1) ++together;
      std::this_thread::yield();
      --inside;
    }
  };

  std::jthread other(count);
  count();
  other.join();

  EXPECT_EQ(together, 0);
}

TEST_F(QuillonFileLockTest, AChildThatWasForkedMeanwhileDoesNotKeepTheLock) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  FileDescriptor reading(ends[0]);
  FileDescriptor writing(ends[1]);
  std::optional<QuillonFileLock> lock;
  lock.emplace(url("lock"));
  const pid_t child = fork();
  if (child == 0) {
    writing.reset();
    char byte = 0;
    _exit(read(reading.get(), &byte, 1) == 0 ? 0 : 1);  // until the parent closes its end
  }

  lock.reset();
  const bool wasFree = isFree();
  writing.reset();

  EXPECT_TRUE(wasFree);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST_F(QuillonFileLockTest, OnlyARegularFileIsLocked) {
  writeFile(folder_ / "file", "");
  fs::create_symlink("file", folder_ / "link");
  ASSERT_EQ(mkfifo((folder_ / "fifo").c_str(), 0600), 0);
  fs::create_directory(folder_ / "folder");

  expectFailure(ELOOP, "link");
  expectFailure(EINVAL, "fifo");
  expectFailure(EISDIR, "folder");
  expectFailure(ENOENT, "none/lock");
  expectFailure(ENOTDIR, "file/lock");
}

TEST_F(QuillonFileLockTest, WhoDoesNotWantToWaitIsToldThatTheLockIsHeld) {
  const QuillonURL file = url("lock");

  {
    const auto held = QuillonFileLock::ifFree(file);
    EXPECT_NE(held, nullptr);
    EXPECT_EQ(QuillonFileLock::ifFree(file), nullptr);
  }

  EXPECT_NE(QuillonFileLock::ifFree(file), nullptr);
}

TEST_F(QuillonFileLockTest, WhatIsNoFileIsAFailureWithoutWaitingToo) {
  EXPECT_THROW((void)QuillonFileLock::ifFree(QuillonURL::fileURL(folder_.path().string())), QuillonSystemError);
}

}  // namespace
}  // namespace quillon
