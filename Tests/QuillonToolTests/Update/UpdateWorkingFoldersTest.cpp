#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "QuillonTool/Update/UpdateWorkingFolders.h"
#include "QuillonToolTests/Update/UpdateCommandWorld.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using testing::writeFile;

InstalledApplication applicationNamed(const std::string& name) {
  return {.bundle = QuillonURL::fileURL("/A.app"),
          .name = name,
          .identifier = "org.example.App",
          .version = "1.0",
          .build = 1,
          .feed = {},
          .skus = {}};
}

class UpdateWorkingFoldersTest : public ::testing::Test {
 protected:
  testing::UpdateInstallationWorld world_;
  const UpdateWorkingFolders folders_{applicationNamed("Example")};
};

TEST_F(UpdateWorkingFoldersTest, WhatEarlierAttemptsLeftIsRemovedFromBothPlaces) {
  writeFile(world_.support / "Example/quillon-update-org.example.App/A/Example.app/file", "x");
  writeFile(world_.temporary / "Example/quillon-update-org.example.App/B/Example.zip", "x");

  EXPECT_THAT(folders_.removeLeftovers(*world_.files), UnorderedElementsAre("A", "B"));

  EXPECT_THAT(world_.leftBehind(), IsEmpty());
}

TEST_F(UpdateWorkingFoldersTest, WhatIsNotOfThisApplicationAndCommandStays) {
  writeFile(world_.support / "Example/documents", "x");
  writeFile(world_.support / "Example/quillon-update-org.example.Other/A/file", "x");

  EXPECT_THAT(folders_.removeLeftovers(*world_.files), IsEmpty());

  EXPECT_TRUE(fs::exists(world_.support / "Example/documents"));
  EXPECT_TRUE(fs::exists(world_.support / "Example/quillon-update-org.example.Other/A/file"));
}

TEST_F(UpdateWorkingFoldersTest, ALinkIsNotFollowed) {
  writeFile(world_.folder / "elsewhere/file", "x");
  fs::create_directories(world_.temporary / "Example");
  fs::create_directory_symlink(world_.folder / "elsewhere",
                               world_.temporary / "Example/quillon-update-org.example.App");

  EXPECT_THAT(folders_.removeLeftovers(*world_.files), IsEmpty());

  EXPECT_TRUE(fs::exists(world_.folder / "elsewhere/file"));
}

TEST_F(UpdateWorkingFoldersTest, WithoutLeftoversNothingHappens) {
  EXPECT_THAT(folders_.removeLeftovers(*world_.files), IsEmpty());
}

TEST_F(UpdateWorkingFoldersTest, ANameThatIsNoFolderGivesWayToTheIdentifier) {
  EXPECT_EQ(folders_.applicationFolderName(), "Example");
  EXPECT_EQ(UpdateWorkingFolders(applicationNamed("a/../b")).applicationFolderName(), "org.example.App");
  EXPECT_EQ(folders_.updateFolderName(), "quillon-update-org.example.App");
}

}  // namespace
}  // namespace quillon
