#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/ResourceScan.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> scannedPaths(const testing::TemporaryDirectory& folder) {
  const FileDescriptor support = openFolder(AT_FDCWD, folder.path().string());
  std::vector<std::string> paths;
  for (const ScannedResource& resource : scanResources(support, ResourceRules::standard(2), "MacOS/Main", "/X")) {
    const char* kinds[] = {"file ", "link ", "code "};
    paths.push_back(kinds[static_cast<int>(resource.kind)] + resource.path +
                    (resource.linkText.empty() ? "" : " -> " + resource.linkText) +
                    (resource.isOptional ? " optional" : ""));
  }
  return paths;
}

TEST(ResourceScanTest, ListsWhatTheRulesSeal) {
  const testing::TemporaryDirectory folder;
  for (const char* file : {"Info.plist", "PkgInfo", "CodeResources", "_CodeSignature/x", "_MASReceipt/receipt",
                           "MacOS/Main", "MacOS/helper", "MacOS/folder/x", "PlugIns/a.bundle/x", "Resources/r",
                           "Resources/de.lproj/x", "Resources/.DS_Store", "Resources/sub.bundle/y"}) {
    testing::writeFile(folder / file, "");
  }
  std::filesystem::create_symlink("/outside", folder / "Resources/link");
  std::filesystem::create_directories(folder / "Resources/empty");

  EXPECT_THAT(scannedPaths(folder), ElementsAre("link Resources/link -> /outside", "file Resources/r",
                                                "file Resources/sub.bundle/y", "file Resources/de.lproj/x optional",
                                                "code PlugIns/a.bundle", "file MacOS/helper", "file MacOS/folder/x"));
}

TEST(ResourceScanTest, OnlyTheVeryFilesThatAreLeftOutEscapeTheSeal) {
  const testing::TemporaryDirectory folder;
  for (const char* file : {"_MASReceipt/receipt", "_MASReceipt/program", "CodeResources/program"}) {
    testing::writeFile(folder / file, "");
  }
  EXPECT_THAT(scannedPaths(folder), ElementsAre("file _MASReceipt/program", "file CodeResources/program"));

  std::filesystem::remove_all(folder / "_MASReceipt");
  std::filesystem::remove_all(folder / "CodeResources");
  std::filesystem::create_symlink("/outside", folder / "_MASReceipt");
  std::filesystem::create_symlink("/outside", folder / "CodeResources");
  EXPECT_THAT(scannedPaths(folder), ElementsAre("link CodeResources -> /outside", "link _MASReceipt -> /outside"));
}

TEST(ResourceScanTest, LinkMayNotStandWhereTheRulesLeaveFilesOut) {
  for (const char* path : {"PkgInfo", "Resources/de.lproj/locversion.plist"}) {
    const testing::TemporaryDirectory folder;
    std::filesystem::create_directories((folder / path).parent_path());
    std::filesystem::create_symlink("/outside", folder / path);

    try {
      (void)scannedPaths(folder);
      FAIL() << "the link was accepted";
    } catch (const CodeSignatureError& error) {
      EXPECT_EQ(error.code(), CodeSignatureErrorCode::badResource);
      EXPECT_THAT(error.details(), ElementsAre("file added: /X/" + std::string(path)));
    }
  }
}

TEST(ResourceScanTest, SpecialFilesAreRefusedWithoutOpeningThem) {
  const testing::TemporaryDirectory folder;
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);

  try {
    (void)scannedPaths(folder);
    FAIL() << "the FIFO was accepted";
  } catch (const CodeSignatureError& error) {
    EXPECT_EQ(error.code(), CodeSignatureErrorCode::unsupportedResource);
    EXPECT_THAT(error.details(), ElementsAre("file added: /X/pipe"));
  }
}

}  // namespace
}  // namespace quillon
