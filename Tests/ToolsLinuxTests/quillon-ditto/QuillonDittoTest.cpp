// The command as other programs run it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Support/TemporaryDirectory.h"
#include "Support/TreeSnapshot.h"
#include "Support/ZipArchiveBuilder.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using testing::TemporaryDirectory;
using testing::writeFile;
using testing::ZipArchiveBuilder;

constexpr const char* kCommand = QUILLON_BINARY_FOLDER "/quillon-ditto";

QuillonProcessResult runDitto(const std::vector<std::string>& arguments) {
  return QuillonPosixProcessRunner().run(kCommand, arguments);
}

TEST(QuillonDittoTest, ABundleSurvivesTheWayThroughAnArchive) {
  const TemporaryDirectory folder;
  writeFile(folder / "Example.app/Contents/MacOS/Example", "#!/bin/sh\n");
  fs::create_symlink("MacOS/Example", folder / "Example.app/Contents/link");
  const std::string archive = (folder / "Example.zip").string();

  const auto making = runDitto({"-c", "-k", "--keepParent", (folder / "Example.app").string(), archive});
  const auto unpacking = runDitto({"-x", "-k", archive, (folder / "unpacked").string()});

  EXPECT_EQ(making, (QuillonProcessResult{.status = 0, .output = ""}));
  EXPECT_EQ(unpacking, (QuillonProcessResult{.status = 0, .output = ""}));
  EXPECT_EQ(testing::treeSnapshot(folder / "unpacked/Example.app"), testing::treeSnapshot(folder / "Example.app"));
}

TEST(QuillonDittoTest, ARefusalIsOneLineAndAStatus) {
  const TemporaryDirectory folder;
  writeFile(folder / "evil.zip", ZipArchiveBuilder().addFile("../evil").build());

  const auto result = runDitto({"-xk", (folder / "evil.zip").string(), (folder / "unpacked").string()});

  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "quillon-ditto: The entry \"../evil\" has a name that leads out of the destination.\n");
  EXPECT_FALSE(fs::exists(folder / "unpacked"));
  EXPECT_FALSE(fs::exists(folder / "evil"));
}

TEST(QuillonDittoTest, ADamagedOrMissingArchiveIsAFailure) {
  const TemporaryDirectory folder;
  writeFile(folder / "damaged.zip", "PK");

  EXPECT_EQ(runDitto({"-x", "-k", (folder / "damaged.zip").string(), folder.path().string()}).status, 1);
  const auto missing = runDitto({"-x", "-k", (folder / "missing.zip").string(), folder.path().string()});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.output, HasSubstr("(ENOENT)"));
}

TEST(QuillonDittoTest, AnArchiveIsUnpackedBesideItself) {
  const TemporaryDirectory folder;
  writeFile(folder / "Example.zip", ZipArchiveBuilder().addFile("Example.app/file").build());

  EXPECT_EQ(runDitto({"-x", "-k", (folder / "Example.zip").string(), folder.path().string()}).status, 0);

  EXPECT_EQ(testing::readFile(folder / "Example.app/file"), "content");
}

/// The first thing that appears in a folder is waited for.
class FolderWatch {
 public:
  explicit FolderWatch(const fs::path& folder) : events_(inotify_init1(IN_CLOEXEC)) {
    inotify_add_watch(events_.get(), folder.c_str(), IN_CREATE);
  }
  void wait() const {
    std::array<char, 4096> event{};
    ASSERT_GT(read(events_.get(), event.data(), event.size()), 0);
  }

 private:
  FileDescriptor events_;
};

TEST(QuillonDittoTest, ARequestToTerminateLeavesNothingAndEndsTheCommandByItsSignal) {
  const TemporaryDirectory folder;
  ZipArchiveBuilder builder;
  for (int i = 0; i < 3000; ++i) builder.addFile(std::to_string(i % 100) + "/" + std::to_string(i));
  writeFile(folder / "archive.zip", builder.build());
  const std::string archive = (folder / "archive.zip").string();
  const fs::path destination = folder / "destination";
  fs::create_directory(destination);
  const FolderWatch watch(destination);

  const pid_t child = fork();
  if (child == 0) {
    execl(kCommand, kCommand, "-x", "-k", archive.c_str(), destination.c_str(), nullptr);
    _exit(127);
  }
  watch.wait();  // it has begun to unpack
  kill(child, SIGTERM);
  int status = 0;
  waitpid(child, &status, 0);

  if (WIFEXITED(status)) {
    // It was faster than the signal.
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(testing::treeSnapshot(destination).size(), 3100U);
  } else {
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
    EXPECT_TRUE(fs::is_empty(destination));
  }
}

TEST(QuillonDittoTest, WrongCommandLinesAreExplained) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{},
                                             {"-x", "-k"},
                                             {"-x", "-k", "a"},
                                             {"-x", "-k", "a", "b", "c"},
                                             {"-x", "-k", "a", ""},
                                             {"-k", "a", "b"},
                                             {"-x", "a", "b"},
                                             {"-x", "-c", "-k", "a", "b"},
                                             {"-x", "-k", "-z", "a", "b"},
                                             {"-x", "-k", "--all", "a", "b"},
                                             {"-xk", "--keepParent", "a", "b"}}) {
    const auto result = runDitto(arguments);
    EXPECT_EQ(result.status, 64);
    EXPECT_THAT(result.output, HasSubstr("Usage: quillon-ditto -x -k ARCHIVE DESTINATION\n"));
  }
}

TEST(QuillonDittoTest, PathsMayBeginWithADashBehindTwo) {
  EXPECT_EQ(runDitto({"-x", "-k", "--", "-missing", "-destination"}).status, 1);
}

TEST(QuillonDittoTest, ExplainsItself) {
  EXPECT_EQ(runDitto({"--help"}).status, 0);
  EXPECT_THAT(runDitto({"--help"}).output, StartsWith("Usage: quillon-ditto"));
  EXPECT_EQ(runDitto({"--version"}).status, 0);
  EXPECT_THAT(runDitto({"--version"}).output, StartsWith("quillon-ditto "));
}

}  // namespace
}  // namespace quillon
