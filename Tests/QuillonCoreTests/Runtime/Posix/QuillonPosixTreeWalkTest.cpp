#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixTreeWalk.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using testing::writeFile;

class RecordingVisitor final : public QuillonPosixTreeVisitor {
 public:
  void enterDirectory(const QuillonPosixTreeItem& item) override { note("+", item); }
  void visitItem(const QuillonPosixTreeItem& item) override { note("", item); }
  void leaveDirectory(const QuillonPosixTreeItem& item) override { note("-", item); }

  std::vector<std::string> visited;
  std::function<void(const std::string&)> onVisit;

 private:
  void note(const std::string& mark, const QuillonPosixTreeItem& item) {
    visited.push_back(mark + item.name);
    if (onVisit) onVisit(visited.back());
  }
};

class QuillonPosixTreeWalkTest : public ::testing::Test {
 protected:
  void walk() {
    const FileDescriptor base(open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    walkTree(base.get(), "root", "root", visitor);
  }

  testing::TemporaryDirectory folder;
  RecordingVisitor visitor;
};

TEST_F(QuillonPosixTreeWalkTest, AFolderIsEnteredBeforeAndLeftAfterItsItems) {
  writeFile(folder / "root/sub/file", "");

  walk();

  EXPECT_THAT(visitor.visited, ElementsAre("+root", "+sub", "file", "-sub", "-root"));
}

TEST_F(QuillonPosixTreeWalkTest, ALinkIsVisitedAndNotFollowed) {
  writeFile(folder / "other/file", "");
  fs::create_directory(folder / "root");
  fs::create_directory_symlink(folder / "other", folder / "root/link");

  walk();

  EXPECT_THAT(visitor.visited, ElementsAre("+root", "link", "-root"));
}

TEST_F(QuillonPosixTreeWalkTest, AFileIsATreeOfItsOwn) {
  writeFile(folder / "root", "");

  walk();

  EXPECT_THAT(visitor.visited, ElementsAre("root"));
}

TEST_F(QuillonPosixTreeWalkTest, AFolderExchangedForALinkBeforeItIsOpenedEndsTheWalk) {
  writeFile(folder / "root/sub/file", "");
  writeFile(folder / "other/file", "");
  visitor.onVisit = [this](const std::string& visit) {
    if (visit != "+sub") return;
    fs::rename(folder / "root/sub", folder / "moved");
    fs::create_directory_symlink(folder / "other", folder / "root/sub");
  };

  EXPECT_THROW(walk(), QuillonSystemError);

  EXPECT_THAT(visitor.visited, ElementsAre("+root", "+sub"));
}

TEST_F(QuillonPosixTreeWalkTest, AFolderExchangedForAnotherBeforeItIsOpenedEndsTheWalk) {
  writeFile(folder / "root/sub/file", "");
  writeFile(folder / "other/file", "");
  visitor.onVisit = [this](const std::string& visit) {
    if (visit != "+sub") return;
    fs::rename(folder / "root/sub", folder / "moved");
    fs::rename(folder / "other", folder / "root/sub");
  };

  EXPECT_THROW(walk(), QuillonSystemError);

  EXPECT_THAT(visitor.visited, ElementsAre("+root", "+sub"));
}

TEST_F(QuillonPosixTreeWalkTest, AFolderMovedAwayWhileItIsVisitedEndsTheWalkBeforeItsNewParentIsTouched) {
  writeFile(folder / "root/sub/file", "");
  visitor.onVisit = [this](const std::string& visit) {
    if (visit == "file") fs::rename(folder / "root/sub", folder / "moved");
  };

  EXPECT_THROW(walk(), QuillonSystemError);

  EXPECT_THAT(visitor.visited, ElementsAre("+root", "+sub", "file"));
}

TEST_F(QuillonPosixTreeWalkTest, AnItemThatVanishedIsPassedOver) {
  writeFile(folder / "root/a", "");
  writeFile(folder / "root/b", "");
  visitor.onVisit = [this](const std::string& visit) {
    if (visit == "a") fs::remove(folder / "root/b");
    if (visit == "b") fs::remove(folder / "root/a");
  };

  walk();

  EXPECT_EQ(visitor.visited.size(), 3U);
}

TEST_F(QuillonPosixTreeWalkTest, AMissingRootIsAnError) {
  try {
    walk();
    FAIL() << "no error";
  } catch (const QuillonSystemError& error) {
    EXPECT_TRUE(error.isPOSIX(ENOENT));
  }
}

}  // namespace
}  // namespace quillon
