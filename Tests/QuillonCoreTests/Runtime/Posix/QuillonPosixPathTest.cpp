#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <optional>

#include "QuillonCore/Runtime/Posix/QuillonPosixPath.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

class QuillonPosixPathTest : public ::testing::Test {
 protected:
  QuillonPosixPathTest() {
    fs::create_directories(folder / "real/inside");
    fs::create_directory(folder / "shared");
    fs::create_directory_symlink(folder / "real", folder / "shared/link");
  }
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only a privileged process is careful about links";
  }

  /// The errno value of opening `path`; 0 when it opens.
  [[nodiscard]] static int openError(const fs::path& path) {
    try {
      return openDirectory(path.string(), "open") ? 0 : -1;
    } catch (const QuillonSystemError& error) {
      return static_cast<int>(error.code());
    }
  }

  testing::TemporaryDirectory folder;
};

TEST_F(QuillonPosixPathTest, ALinkThatOnlyRootCouldMakeIsFollowed) {
  EXPECT_EQ(openError(folder / "shared/link/inside"), 0);
  fs::create_directory_symlink("link", folder / "shared/relative");
  EXPECT_EQ(openError(folder / "shared/relative/inside"), 0);
  EXPECT_EQ(openError(folder / "shared/link/../real"), 0);
}

TEST_F(QuillonPosixPathTest, ALinkOfSomebodyElseIsRefused) {
  ASSERT_EQ(lchown((folder / "shared/link").c_str(), 1234, 1234), 0);

  EXPECT_EQ(openError(folder / "shared/link/inside"), ELOOP);
}

TEST_F(QuillonPosixPathTest, ALinkInAFolderOfSomebodyElseIsRefused) {
  ASSERT_EQ(chown((folder / "shared").c_str(), 1234, 1234), 0);

  EXPECT_EQ(openError(folder / "shared/link/inside"), ELOOP);
}

TEST_F(QuillonPosixPathTest, ALinkInAFolderThatOthersCanWriteIsRefusedUnlessItIsSticky) {
  ASSERT_EQ(chmod((folder / "shared").c_str(), 0777), 0);
  EXPECT_EQ(openError(folder / "shared/link/inside"), ELOOP);

  ASSERT_EQ(chmod((folder / "shared").c_str(), 01777), 0);
  EXPECT_EQ(openError(folder / "shared/link/inside"), 0);
}

TEST_F(QuillonPosixPathTest, LinksThatLeadInACircleEnd) {
  fs::create_directory_symlink("b", folder / "a");
  fs::create_directory_symlink("a", folder / "b");

  EXPECT_EQ(openError(folder / "a"), ELOOP);
}

TEST_F(QuillonPosixPathTest, ALinkOfAProcessOfSomebodyElseIsRefused) {
  ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    const bool isReady = setgid(65534) == 0 && setuid(65534) == 0 && chdir((folder / "real").c_str()) == 0;
    // The links of a process that changed its user belong to root until it becomes dumpable again.
    prctl(PR_SET_DUMPABLE, 1);
    (void)!write(pipe[1], isReady ? "y" : "n", 1);
    pause();
    _exit(0);
  }
  char answer = 0;
  ASSERT_EQ(read(pipe[0], &answer, 1), 1);
  EXPECT_EQ(answer, 'y');

  const fs::path process = fs::path("/proc") / std::to_string(child);
  EXPECT_EQ(openError(process / "cwd/inside"), ELOOP);
  EXPECT_EQ(openError(process / "root"), ELOOP);

  kill(child, SIGKILL);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  for (const int descriptor : pipe) close(descriptor);
}

TEST_F(QuillonPosixPathTest, APathLongerThanTheSystemTakesIsRefusedAtOnce) {
  std::string path;
  for (int i = 0; i < 60'000; ++i) path += "/a";

  EXPECT_EQ(openError(path), ENAMETOOLONG);
}

TEST_F(QuillonPosixPathTest, AnOpenFoldersPathLeadsToThatFolder) {
  const FileDescriptor descriptor = openDirectory((folder / "real").string(), "open");
  const std::string path = pathOfOpenDirectory(descriptor.get());
  fs::rename(folder / "real", folder / "moved");

  EXPECT_EQ(openError(path + "/inside"), 0);
}

TEST_F(QuillonPosixPathTest, APlaceIsTheFolderAndTheName) {
  const QuillonPosixPlace place = openPlace(QuillonURL::fileURL((folder / "real/inside").string()), "open");

  EXPECT_EQ(place.name, "inside");
  EXPECT_EQ(faccessat(place.folder.get(), "inside", F_OK, 0), 0);
  EXPECT_EQ(openError(folder / "none/x"), ENOENT);
  EXPECT_EQ(openError(folder / "real/inside/none"), ENOENT);
}

}  // namespace
}  // namespace quillon
