#include <gtest/gtest.h>

#include <stop_token>

#include "QuillonCore/Values/QuillonError.h"
#include "ZipArchive/ArchiveTree.h"
#include "ZipArchive/ZipArchiveError.h"

namespace quillon {
namespace {

ZipEntry entry(const std::string& path, ZipEntryKind kind = ZipEntryKind::file) {
  ZipEntry entry;
  entry.path = path;
  entry.kind = kind;
  return entry;
}

ArchiveTree treeOf(const std::vector<ZipEntry>& entries) {
  return ArchiveTree(entries, 100, [](const ZipEntry&) { return true; });
}

TEST(ArchiveTreeTest, EveryFolderStandsBeforeWhatItHolds) {
  const ArchiveTree tree = treeOf({entry("a/b/c"), entry("a", ZipEntryKind::folder), entry("a/d")});

  ASSERT_EQ(tree.items().size(), 5U);
  for (std::size_t i = 1; i < tree.items().size(); ++i) EXPECT_LT(tree.items()[i].parent, i);
  EXPECT_EQ(tree.path(3), "a/b/c");
  EXPECT_EQ(tree.items()[1].entry, 1U);            // told of after what it holds
  EXPECT_EQ(tree.items()[2].entry, std::nullopt);  // told of by a name only
}

TEST(ArchiveTreeTest, AppleDoubleFilesBelongToTheirItem) {
  const ArchiveTree tree = treeOf({entry("__MACOSX/._a"), entry("a"), entry("b/._c"), entry("b/c")});

  ASSERT_EQ(tree.items().size(), 4U);
  EXPECT_EQ(tree.items()[1].appleDouble, 0U);
  EXPECT_EQ(tree.items()[3].appleDouble, 2U);
}

TEST(ArchiveTreeTest, AFolderWithTheNameOfAnAppleDoubleFileIsAFolder) {
  const ArchiveTree tree = treeOf({entry("a"), entry("._a", ZipEntryKind::folder)});

  EXPECT_EQ(tree.items().size(), 3U);
}

TEST(ArchiveTreeTest, FoldersThatOnlyNamesTellOfCountToo) {
  const auto isAppleDouble = [](const ZipEntry&) { return false; };

  EXPECT_NO_THROW(ArchiveTree({entry("a/b/c")}, 3, isAppleDouble));
  EXPECT_THROW(ArchiveTree({entry("a/b/c/d")}, 3, isAppleDouble), ZipArchiveError);
}

TEST(ArchiveTreeTest, ARequestToStopEndsTheReadingOfTheNames) {
  std::stop_source source;
  source.request_stop();

  EXPECT_THROW(ArchiveTree(
                   {entry("a")}, 100, [](const ZipEntry&) { return false; }, source.get_token()),
               QuillonCancellationError);
}

struct LinkCase {
  std::string target;
  bool isAccepted;
};

TEST(ArchiveTreeTest, LinksLeadNowhereOutOfTheDestination) {
  const ArchiveTree tree = treeOf(
      {entry("a/b/link", ZipEntryKind::symbolicLink), entry("a/b/c/file"), entry("other", ZipEntryKind::symbolicLink)});
  const std::size_t link = 3;
  ASSERT_EQ(tree.path(link), "a/b/link");

  for (const auto& [target, isAccepted] : std::vector<LinkCase>{{"c/file", true},
                                                                {"./c//file/", true},
                                                                {"../..", true},
                                                                {"../../a/b/c", true},
                                                                {"missing/../c", true},
                                                                {"../../missing/deep/../../a", true},
                                                                {"../../other", true},
                                                                {"../../..", false},
                                                                {"/a/b/c", false},
                                                                {"c/../../../..", false},
                                                                {"missing/../../../..", false},
                                                                {"../../other/..", false},
                                                                {"../../other/x/..", false}}) {
    if (isAccepted) {
      EXPECT_NO_THROW(tree.checkLinkTarget(link, target)) << target;
    } else {
      EXPECT_THROW(tree.checkLinkTarget(link, target), ZipArchiveError) << target;
    }
  }
}

}  // namespace
}  // namespace quillon
