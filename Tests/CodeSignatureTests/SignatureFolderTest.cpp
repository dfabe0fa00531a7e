#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "CodeSignature/SignatureFolder.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

BundleLayout open(const testing::SignedBundleBuilder& bundle) {
  return openBundle(openFolder(AT_FDCWD, bundle.path().string()), bundle.path().string());
}

TEST(SignatureFolderTest, FolderHasExactlyTheFilesAfterwards) {
  const testing::TemporaryDirectory folder;
  testing::SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withFile("_CodeSignature/old", "x");

  replaceSignatureFolder(open(bundle), {{"CodeDirectory", "new"}});

  EXPECT_EQ(testing::readFile(bundle / "_CodeSignature/CodeDirectory"), "new");
  EXPECT_FALSE(fs::exists(bundle / "_CodeSignature/old"));
  EXPECT_EQ(std::distance(fs::directory_iterator(bundle.contents()), {}), 2);  // and Info.plist
}

TEST(SignatureFolderTest, EveryoneMayReadTheFilesWhateverTheMask) {
  const testing::TemporaryDirectory folder;
  const testing::SignedBundleBuilder bundle(folder / "Example.app");
  const BundleLayout layout = open(bundle);

  const mode_t mask = umask(077);
  replaceSignatureFolder(layout, {{"CodeDirectory", "new"}});
  umask(mask);

  const fs::perms file = fs::status(bundle / "_CodeSignature/CodeDirectory").permissions();
  const fs::perms own = fs::status(bundle / "_CodeSignature").permissions();
  EXPECT_EQ(static_cast<unsigned>(file), 0644U);
  EXPECT_EQ(static_cast<unsigned>(own), 0755U);
}

TEST(SignatureFolderTest, LinkInItsPlaceIsReplacedNotFollowed) {
  const testing::TemporaryDirectory folder;
  testing::SignedBundleBuilder bundle(folder / "Example.app");
  testing::writeFile(folder / "outside/file", "x");
  fs::create_symlink(folder / "outside", bundle / "_CodeSignature");

  replaceSignatureFolder(open(bundle), {{"CodeDirectory", "new"}});

  EXPECT_TRUE(fs::is_directory(fs::symlink_status(bundle / "_CodeSignature")));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder / "outside"), {}), 1);
}

TEST(SignatureFolderTest, FailureWhileWritingChangesNothing) {
  const testing::TemporaryDirectory folder;
  testing::SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withFile("_CodeSignature/old", "x");

  EXPECT_THROW(replaceSignatureFolder(open(bundle), {{"CodeDirectory", "new"}, {"missing/folder", "x"}}),
               QuillonSystemError);

  EXPECT_EQ(testing::readFile(bundle / "_CodeSignature/old"), "x");
  EXPECT_EQ(std::distance(fs::directory_iterator(bundle.contents()), {}), 2);
}

}  // namespace
}  // namespace quillon
