#include <gtest/gtest.h>

#include <filesystem>

#include "QuillonCore/Values/QuillonError.h"
#include "SampleHost/Sources/UpdateWorkingFolder.h"
#include "Support/UpdateInstallationWorld.h"

namespace sample {
namespace {

namespace fs = std::filesystem;
using quillon::testing::writeFile;

class UpdateWorkingFolderTest : public ::testing::Test {
 protected:
  quillon::testing::UpdateInstallationWorld world_;
};

TEST_F(UpdateWorkingFolderTest, WhatEarlierAttemptsLeftIsRemoved) {
  writeFile(world_.support / "Sample/Update/A/Sample.app/file", "x");
  writeFile(world_.support / "Sample/Update/B/Sample.zip", "x");

  removeUpdateWorkingFolder(*world_.files, "Sample");

  EXPECT_FALSE(fs::exists(world_.support / "Sample/Update"));
}

TEST_F(UpdateWorkingFolderTest, WhatElseTheApplicationKeepsStays) {
  writeFile(world_.support / "Sample/Update/A/file", "x");
  writeFile(world_.support / "Sample/documents", "x");
  writeFile(world_.support / "Other/Update/A/file", "x");

  removeUpdateWorkingFolder(*world_.files, "Sample");

  EXPECT_TRUE(fs::exists(world_.support / "Sample/documents"));
  EXPECT_TRUE(fs::exists(world_.support / "Other/Update/A/file"));
}

TEST_F(UpdateWorkingFolderTest, ALinkIsNotFollowed) {
  writeFile(world_.folder / "elsewhere/file", "x");
  fs::create_directories(world_.support / "Sample");
  fs::create_directory_symlink(world_.folder / "elsewhere", world_.support / "Sample/Update");

  removeUpdateWorkingFolder(*world_.files, "Sample");

  EXPECT_TRUE(fs::exists(world_.folder / "elsewhere/file"));
}

TEST_F(UpdateWorkingFolderTest, WhatLiesInTheFolderForTemporaryFilesIsRemovedToo) {
  const fs::path temporary = world_.files->temporaryDirectory().path();
  writeFile(temporary / "Sample/Update/A/file", "x");

  removeUpdateWorkingFolder(*world_.files, "Sample");

  EXPECT_FALSE(fs::exists(temporary / "Sample/Update"));
}

TEST_F(UpdateWorkingFolderTest, AFolderThatSomebodyElseHasLinkedIsNotTouched) {
  const fs::path temporary = world_.files->temporaryDirectory().path();
  writeFile(world_.folder / "documents/Update/file", "x");
  fs::create_directories(temporary);
  fs::create_directory_symlink(world_.folder / "documents", temporary / "Sample");

  removeUpdateWorkingFolder(*world_.files, "Sample");

  EXPECT_TRUE(fs::exists(world_.folder / "documents/Update/file"));
}

TEST_F(UpdateWorkingFolderTest, WithoutLeftoversNothingHappens) {
  EXPECT_NO_THROW(removeUpdateWorkingFolder(*world_.files, "Sample"));

  EXPECT_FALSE(fs::exists(world_.support / "Sample"));
}

}  // namespace
}  // namespace sample
