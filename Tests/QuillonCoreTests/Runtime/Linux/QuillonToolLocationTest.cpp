#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuillonCore/Runtime/Linux/QuillonToolLocation.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::TemporaryDirectory;

/// A program folder with the tool "tool" in it, and the place where it is installed.
class QuillonToolLocationTest : public ::testing::Test {
 protected:
  QuillonToolLocationTest() {
    testing::writeFile(tool(), "#!/bin/sh\n");
    setMode(tool(), 0755);
    setMode(location_.programFolder, 0755);
  }

  [[nodiscard]] std::filesystem::path tool() const { return location_.programFolder / "tool"; }
  [[nodiscard]] std::string installed() const { return (location_.installFolder / "tool").string(); }
  static void setMode(const std::filesystem::path& path, mode_t mode) { ASSERT_EQ(chmod(path.c_str(), mode), 0); }
  TemporaryDirectory folder_;
  QuillonToolLocation location_{.programFolder = folder_ / "bin", .installFolder = "/opt/quillon/bin"};
};

class PrivilegedToolLocationTest : public QuillonToolLocationTest {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make files that belong to root";
    location_.isPrivileged = true;
  }
};

TEST_F(QuillonToolLocationTest, ToolBesideTheProgramComesFirst) {
  EXPECT_EQ(location_.path("tool"), tool());
}

TEST_F(QuillonToolLocationTest, WithoutOneTheInstalledToolIsTaken) {
  EXPECT_EQ(location_.path("other"), "/opt/quillon/bin/other");
}

TEST_F(QuillonToolLocationTest, WhatCannotBeExecutedIsNoTool) {
  setMode(tool(), 0644);
  EXPECT_EQ(location_.path("tool"), installed());

  std::filesystem::remove(tool());
  std::filesystem::create_directory(tool());
  EXPECT_EQ(location_.path("tool"), installed());
}

TEST_F(QuillonToolLocationTest, UnknownProgramFolderIsNotTheCurrentFolder) {
  location_.programFolder.clear();

  EXPECT_EQ(location_.path("tool"), installed());
}

TEST_F(PrivilegedToolLocationTest, PrivilegedProcessTakesATrustedToolBesideIt) {
  EXPECT_EQ(location_.path("tool"), tool());
}

TEST_F(PrivilegedToolLocationTest, PrivilegedProcessTakesNoToolThatOthersCanWrite) {
  setMode(tool(), 0757);
  EXPECT_EQ(location_.path("tool"), installed());

  setMode(tool(), 0775);
  ASSERT_EQ(chown(tool().c_str(), 0, 100), 0);
  EXPECT_EQ(location_.path("tool"), installed());
}

TEST_F(PrivilegedToolLocationTest, RootsOwnGroupMayWriteTheTool) {
  setMode(tool(), 0775);

  EXPECT_EQ(location_.path("tool"), tool());
}

TEST_F(PrivilegedToolLocationTest, PrivilegedProcessTakesNoToolOfAnotherOwner) {
  ASSERT_EQ(chown(tool().c_str(), 65534, 65534), 0);

  EXPECT_EQ(location_.path("tool"), installed());
}

TEST_F(PrivilegedToolLocationTest, PrivilegedProcessTakesNoToolFromAFolderThatOthersCanWrite) {
  setMode(location_.programFolder, 01777);

  EXPECT_EQ(location_.path("tool"), installed());
}

TEST_F(PrivilegedToolLocationTest, PrivilegedProcessTakesNoToolFromBelowAFolderOfAnotherOwner) {
  ASSERT_EQ(chown(folder_.path().c_str(), 65534, 65534), 0);

  EXPECT_EQ(location_.path("tool"), installed());
}

TEST_F(PrivilegedToolLocationTest, PrivilegedProcessDoesNotFollowALinkIntoAnotherOwnersFolder) {
  const auto elsewhere = folder_ / "elsewhere" / "tool";
  testing::writeFile(elsewhere, "#!/bin/sh\n");
  setMode(elsewhere, 0755);
  ASSERT_EQ(chown(elsewhere.parent_path().c_str(), 65534, 65534), 0);
  std::filesystem::remove(tool());
  std::filesystem::create_symlink(elsewhere, tool());

  EXPECT_EQ(location_.path("tool"), installed());
}

TEST(QuillonToolLocationCurrentTest, LooksBesideTheRunningProgram) {
  const QuillonToolLocation location = QuillonToolLocation::current();

  EXPECT_EQ(location.programFolder, std::filesystem::canonical("/proc/self/exe").parent_path());
  EXPECT_TRUE(location.installFolder.is_absolute());
  EXPECT_EQ(location.isPrivileged, geteuid() == 0);
  EXPECT_EQ(toolPath("no-such-tool"), location.installFolder / "no-such-tool");
}

}  // namespace
}  // namespace quillon
