#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "QuillonCore/Values/QuillonError.h"
#include "Support/OrdinaryUser.h"
#include "Support/ScopedFileLengthLimit.h"
#include "Support/ScopedMount.h"
#include "Support/TemporaryDirectory.h"
#include "Support/TreeSnapshot.h"
#include "Support/ZipArchiveBuilder.h"
#include "ZipArchive/AppleDouble.h"
#include "ZipArchive/AppleDoubleName.h"
#include "ZipArchive/Posix/ArchiveExtractor.h"
#include "ZipArchive/ZipArchiveError.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::littleEndian;
using testing::TemporaryDirectory;
using testing::treeSnapshot;
using testing::ZipArchiveBuilder;
using testing::zipExtraField;

constexpr unsigned kFolderMode = 0040000;

using TreeSnapshot = std::map<std::string, testing::ItemSnapshot>;

/// Whether two trees differ in times at most.
bool isAlike(const TreeSnapshot& one, const TreeSnapshot& other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(), [](const auto& a, const auto& b) {
    return a.first == b.first && a.second.content == b.second.content && a.second.mode == b.second.mode;
  });
}

/// An archive beside the folder that it is unpacked to, and something in and around it that must not change.
class ArchiveExtractorTest : public ::testing::Test {
 protected:
  ArchiveExtractorTest() {
    testing::writeFile(folder_ / "around", "around");
    testing::writeFile(destination_ / "present/file", "present");
  }

  void writeArchive(const std::string& bytes) const { testing::writeFile(archive_, bytes); }
  void extract(const ZipArchiveLimits& limits = {}, const std::stop_token& stop = {}) const {
    extractArchive(archive_.string(), destination_.string(), limits, stop);
  }
  void extract(const ZipArchiveBuilder& archive) const {
    writeArchive(archive.build());
    extract();
  }
  /// The message of the refusal. Fails the test when there is none, or when anything is different afterwards.
  [[nodiscard]] std::string refusal(const std::string& bytes, const ZipArchiveLimits& limits = {}) const {
    writeArchive(bytes);
    const auto before = treeSnapshot(folder_.path());
    std::string message;
    try {
      extract(limits);
      ADD_FAILURE() << "not refused";
    } catch (const QuillonError& error) {
      message = error.description();
    }
    EXPECT_TRUE(isAlike(treeSnapshot(folder_.path()), before));
    return message;
  }
  [[nodiscard]] std::string refusal(const ZipArchiveBuilder& archive) const { return refusal(archive.build()); }
  [[nodiscard]] testing::ItemSnapshot item(const std::string& name) const {
    return treeSnapshot(destination_).at(name);
  }

  TemporaryDirectory folder_;
  fs::path destination_ = folder_ / "destination";
  fs::path archive_ = folder_ / "Update.zip";
};

std::string timestamp(std::uint32_t seconds) {
  return zipExtraField(0x5455, "\1" + littleEndian(seconds, 4));
}

TEST_F(ArchiveExtractorTest, FilesFoldersAndLinksComeOutWithPermissionsAndTimes) {
  const std::string text(100'000, 'x');
  ZipArchiveBuilder archive;
  archive.add({.name = "A.app/", .content = {}, .mode = 0040750, .extra = timestamp(1'000'000'000)});
  archive.add(
      {.name = "A.app/deflated", .content = text, .mode = 0100640, .method = 8, .extra = timestamp(1'100'000'000)});
  archive.add({.name = "A.app/stored", .content = "content", .mode = 0100755, .extra = timestamp(1'200'000'000)});
  archive.add({.name = "A.app/link", .content = "stored", .mode = 0120777, .extra = timestamp(1'300'000'000)});

  extract(archive);

  EXPECT_EQ(item("A.app").mode, kFolderMode | 0750U);
  EXPECT_EQ(item("A.app").modificationTime, 1'000'000'000);
  EXPECT_EQ(item("A.app/deflated").content, text);
  EXPECT_EQ(item("A.app/deflated").mode, 0100640U);
  EXPECT_EQ(item("A.app/deflated").modificationTime, 1'100'000'000);
  EXPECT_EQ(item("A.app/stored").mode, 0100755U);
  EXPECT_EQ(item("A.app/link").content, "stored");
  EXPECT_EQ(item("A.app/link").modificationTime, 1'300'000'000);
  EXPECT_EQ(item("present/file").content, "present");
}

TEST_F(ArchiveExtractorTest, NothingButTheTreeIsLeftInTheDestination) {
  extract(ZipArchiveBuilder().addFile("file"));

  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(destination_)) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  EXPECT_THAT(names, ElementsAre("file", "present"));
}

TEST_F(ArchiveExtractorTest, RightsToActAsOwnerOrGroupStayBehind) {
  extract(ZipArchiveBuilder().add({.name = "file", .content = "x", .mode = 0107755}));

  EXPECT_EQ(item("file").mode, 0100755U);
}

TEST_F(ArchiveExtractorTest, AFolderThatTheArchiveMakesReadOnlyIsFilledFirst) {
  extract(ZipArchiveBuilder().addFolder("locked/", 0555).addFolder("locked/inner/", 0500).addFile("locked/inner/file"));

  EXPECT_EQ(item("locked").mode, kFolderMode | 0555U);
  EXPECT_EQ(item("locked/inner").mode, kFolderMode | 0500U);
  EXPECT_EQ(item("locked/inner/file").content, "content");
}

TEST_F(ArchiveExtractorTest, FoldersWithoutEntryAreMade) {
  extract(ZipArchiveBuilder().addFile("a/b/c"));

  EXPECT_EQ(item("a/b/c").content, "content");
  EXPECT_EQ(item("a/b").mode, kFolderMode | 0755U);
}

TEST_F(ArchiveExtractorTest, EntriesOfSystemsWithoutPermissionsGetTheUsualOnes) {
  ZipArchiveBuilder archive;
  archive.add({.name = "folder", .content = {}, .mode = 0, .host = 0, .dosAttributes = 0x10});
  archive.add({.name = "folder/file", .content = "x", .mode = 0, .host = 0});

  extract(archive);

  EXPECT_EQ(item("folder").mode, kFolderMode | 0755U);
  EXPECT_EQ(item("folder/file").mode, 0100644U);
}

TEST_F(ArchiveExtractorTest, DataDescriptorsAndZip64RecordsAreRead) {
  extract(ZipArchiveBuilder().addFile("streamed", "one").withDataDescriptors());
  extract(ZipArchiveBuilder().addFile("large", "two").withZip64());

  EXPECT_EQ(item("streamed").content, "one");
  EXPECT_EQ(item("large").content, "two");
}

TEST_F(ArchiveExtractorTest, AnArchiveMayEndWithACommentOrPadding) {
  extract(ZipArchiveBuilder().addFile("commented").withComment("a comment"));
  writeArchive(ZipArchiveBuilder().addFile("padded").build() + std::string(10'000, '\0'));
  extract();

  EXPECT_EQ(item("commented").content, "content");
  EXPECT_EQ(item("padded").content, "content");
}

TEST_F(ArchiveExtractorTest, AnEmptyArchiveUnpacksToNothing) {
  const auto before = treeSnapshot(destination_);

  extract(ZipArchiveBuilder());

  EXPECT_EQ(treeSnapshot(destination_), before);
}

TEST_F(ArchiveExtractorTest, AMissingDestinationIsMadeWithTheFoldersAroundIt) {
  destination_ = folder_ / "new/folder";

  extract(ZipArchiveBuilder().addFile("file"));

  EXPECT_EQ(item("file").content, "content");
}

TEST_F(ArchiveExtractorTest, AMissingDestinationIsMissingAgainAfterARefusal) {
  destination_ = folder_ / "new/folder";

  EXPECT_THAT(refusal(ZipArchiveBuilder().add({.name = "file", .content = "x", .crc32 = 1})), HasSubstr("is damaged"));
}

/// More than is inflated at once.
constexpr std::size_t kLargeSize = (std::size_t{8} << 20) + 100'000;

TEST_F(ArchiveExtractorTest, LargeEntriesAreInflatedPieceByPiece) {
  std::string text;
  for (int i = 0; i < 3000; ++i) text += std::to_string(i);
  while (text.size() < kLargeSize) text += text;
  ZipArchiveBuilder archive;
  archive.add({.name = "deflated", .content = text, .method = 8}).add({.name = "stored", .content = text});

  extract(archive);

  EXPECT_TRUE(item("deflated").content == text);
  EXPECT_TRUE(item("stored").content == text);
}

TEST_F(ArchiveExtractorTest, ADamagedLargeEntryIsRefused) {
  const std::string text(kLargeSize, 'x');
  const std::string data = testing::deflated(text);

  EXPECT_THAT(refusal(ZipArchiveBuilder().add({.name = "a", .content = text, .method = 8, .crc32 = 1})),
              HasSubstr("is damaged"));
  EXPECT_THAT(refusal(ZipArchiveBuilder().add({.name = "a", .content = text, .method = 8, .data = data + "more"})),
              HasSubstr("is damaged"));
  EXPECT_THAT(refusal(ZipArchiveBuilder().add(
                  {.name = "a", .content = text, .method = 8, .data = data.substr(0, data.size() - 9)})),
              HasSubstr("is damaged"));
}

// What is there already.

TEST_F(ArchiveExtractorTest, AFolderThatIsThereIsFilledUpAndKeepsItsPermissions) {
  fs::permissions(destination_ / "present", fs::perms(0711));

  extract(ZipArchiveBuilder().addFolder("present/", 0500).addFile("present/added"));

  EXPECT_EQ(item("present").mode, kFolderMode | 0711U);
  EXPECT_EQ(item("present/file").content, "present");
  EXPECT_EQ(item("present/added").content, "content");
}

TEST_F(ArchiveExtractorTest, AFileThatIsThereIsReplaced) {
  extract(ZipArchiveBuilder().addFile("present/file", "replaced"));

  EXPECT_EQ(item("present/file").content, "replaced");
}

TEST_F(ArchiveExtractorTest, ALinkThatIsThereIsReplacedAndNotFollowed) {
  fs::create_symlink(folder_ / "around", destination_ / "link");

  extract(ZipArchiveBuilder().addFile("link", "file"));

  EXPECT_EQ(item("link").mode, 0100644U);
  EXPECT_EQ(testing::readFile(folder_ / "around"), "around");
}

TEST_F(ArchiveExtractorTest, AFolderIsNotPutThroughALinkThatIsThere) {
  fs::create_directory(folder_ / "elsewhere");
  fs::create_directory_symlink(folder_ / "elsewhere", destination_ / "link");

  EXPECT_THAT(refusal(ZipArchiveBuilder().addFile("link/file")), HasSubstr("is a folder and would replace a file"));
}

/// Unpacks twice as a user whom permissions hold off.
class ReadOnlyFolderTest : public ArchiveExtractorTest {
 protected:
  ReadOnlyFolderTest() {
    destination_ = folder_ / "own";
    fs::permissions(folder_.path(), fs::perms(0777));
  }
  ~ReadOnlyFolderTest() override {
    for (const char* folder : {"locked", "locked/inner"}) {
      std::error_code ignored;
      fs::permissions(destination_ / folder, fs::perms(0700), ignored);
    }
  }

  static ZipArchiveBuilder lockedFolders(const std::string& content) {
    return ZipArchiveBuilder()
        .addFolder("locked/", 0555)
        .addFile("locked/file", content)
        .addFolder("locked/inner/", 0500)
        .addFile("locked/inner/file", content);
  }
  [[nodiscard]] bool isUnpacked(const ZipArchiveBuilder& archive) const {
    writeArchive(archive.build());
    return testing::holdsForOrdinaryUser([this] {
      extract();
      return true;
    });
  }
};

TEST_F(ReadOnlyFolderTest, IsFilledUpByTheNextExtractionAndStaysReadOnly) {
  ASSERT_TRUE(isUnpacked(lockedFolders("first")));

  EXPECT_TRUE(isUnpacked(lockedFolders("second").addFile("locked/inner/added")));

  EXPECT_EQ(item("locked/file").content, "second");
  EXPECT_EQ(item("locked/inner/file").content, "second");
  EXPECT_EQ(item("locked/inner/added").content, "content");
  EXPECT_EQ(item("locked").mode, kFolderMode | 0555U);
  EXPECT_EQ(item("locked/inner").mode, kFolderMode | 0500U);
}

TEST_F(ReadOnlyFolderTest, IsAsItWasAfterAnExtractionThatIsTakenBack) {
  ASSERT_TRUE(isUnpacked(lockedFolders("first").addFile("locked/conflict/file")));
  const auto before = treeSnapshot(destination_);

  // Whatever order the file system lists names in, one of both conflicts comes behind other items.
  EXPECT_FALSE(isUnpacked(lockedFolders("second").addFile("locked/conflict")));
  EXPECT_FALSE(isUnpacked(ZipArchiveBuilder().addFile("locked/conflict").addFile("locked/inner/file")));

  EXPECT_TRUE(isAlike(treeSnapshot(destination_), before));
}

TEST_F(ReadOnlyFolderTest, ThatCannotEvenBeListedIsFilledUpToo) {
  const auto archive = [](const std::string& content) {
    return ZipArchiveBuilder().addFolder("closed/", 0).addFile("closed/file", content);
  };
  ASSERT_TRUE(isUnpacked(archive("first")));

  EXPECT_TRUE(isUnpacked(archive("second").addFolder("closed/added/", 0555)));

  EXPECT_EQ(fs::status(destination_ / "closed").permissions(), fs::perms::none);
  fs::permissions(destination_ / "closed", fs::perms(0700));
  EXPECT_EQ(item("closed/file").content, "second");
  EXPECT_EQ(item("closed/added").mode, kFolderMode | 0555U);
  fs::permissions(destination_ / "closed/added", fs::perms(0700));
}

TEST_F(ArchiveExtractorTest, TheArchiveItselfIsNotReplacedAndWhatWasMovedGoesBack) {
  archive_ = destination_ / "Update.zip";

  const std::string message = refusal(ZipArchiveBuilder()
                                          .addFile("present/file", "replaced")
                                          .addFile("other")
                                          .addFile("zzz/new")
                                          .addFile("Update.zip"));

  EXPECT_EQ(message, "The entry \"Update.zip\" would replace the archive itself.");
}

TEST_F(ArchiveExtractorTest, AFileDoesNotReplaceAFolder) {
  EXPECT_THAT(refusal(ZipArchiveBuilder().addFile("present").addFile("first")), HasSubstr("would replace a folder"));
}

// AppleDouble.

std::string attributesFile() {
  return makeAppleDouble({{"com.apple.cs.CodeDirectory", "signature"}, {"org.example", std::string("a\0b", 3)}});
}

TEST_F(ArchiveExtractorTest, AppleDoubleFilesBecomeAttributesOfTheirItems) {
  extract(ZipArchiveBuilder()
              .addFile("__MACOSX/A.app/._tool", attributesFile())
              .addFolder("A.app/")
              .addFile("A.app/tool")
              .addFile("__MACOSX/._A.app", attributesFile())
              .addFile("A.app/beside")
              .addFile("A.app/._beside", attributesFile())
              .addFolder("__MACOSX/")
              .addFolder("__MACOSX/A.app/"));

  const std::map<std::string, std::string> attributes{{"user.com.apple.cs.CodeDirectory", "signature"},
                                                      {"user.org.example", std::string("a\0b", 3)}};
  EXPECT_EQ(item("A.app/tool").attributes, attributes);
  EXPECT_EQ(item("A.app/beside").attributes, attributes);
  EXPECT_EQ(item("A.app").attributes, attributes);
  EXPECT_FALSE(fs::exists(destination_ / "__MACOSX"));
  EXPECT_FALSE(fs::exists(destination_ / "A.app/._beside"));
}

TEST_F(ArchiveExtractorTest, AReadOnlyFileGetsItsAttributes) {
  extract(ZipArchiveBuilder()
              .add({.name = "file", .content = "x", .mode = 0100444})
              .addFile("__MACOSX/._file", attributesFile()));

  EXPECT_EQ(item("file").attributes.size(), 2U);
  EXPECT_EQ(item("file").mode, 0100444U);
}

TEST_F(ArchiveExtractorTest, AFileThatOnlyHasTheNameOfAnAppleDoubleFileStaysAFile) {
  extract(ZipArchiveBuilder().addFile("notes").addFile("._notes", "text"));

  EXPECT_EQ(item("._notes").content, "text");
}

TEST_F(ArchiveExtractorTest, AnAppleDoubleFileOfNothingIsDropped) {
  extract(ZipArchiveBuilder().addFile("__MACOSX/._gone", attributesFile()).addFile("._gone", attributesFile()));

  EXPECT_EQ(treeSnapshot(destination_).size(), 2U);
}

TEST_F(ArchiveExtractorTest, ADamagedAppleDoubleFileIsRefused) {
  EXPECT_THAT(refusal(ZipArchiveBuilder().addFile("file").addFile("__MACOSX/._file", "no AppleDouble")),
              HasSubstr("should be AppleDouble"));
  EXPECT_THAT(refusal(ZipArchiveBuilder().addFile("file").addFile("__MACOSX/._file", attributesFile().substr(0, 99))),
              HasSubstr("ends too early"));
}

TEST_F(ArchiveExtractorTest, TwoAppleDoubleFilesOfOneItemAreRefused) {
  EXPECT_THAT(refusal(ZipArchiveBuilder()
                          .addFile("file")
                          .addFile("._file", attributesFile())
                          .addFile("__MACOSX/._file", attributesFile())),
              HasSubstr("second AppleDouble file"));
}

TEST_F(ArchiveExtractorTest, AHugeAppleDoubleFileIsRefused) {
  const ZipArchiveLimits limits{.appleDoubleSize = 100};

  EXPECT_THAT(refusal(ZipArchiveBuilder().addFile("file").addFile("._file", attributesFile()).build(), limits),
              HasSubstr("too large for an AppleDouble file"));
}

TEST_F(ArchiveExtractorTest, AnAppleDoubleFileWithHugeCompressedDataIsRefused) {
  const ZipArchiveLimits limits{.appleDoubleSize = 400};
  const std::string file = attributesFile();
  ASSERT_LT(file.size(), 400U);
  const std::string archive =
      ZipArchiveBuilder()
          .addFile("file")
          .add(
              {.name = "._file", .content = file, .method = 8, .data = testing::deflated(file) + std::string(400, 'x')})
          .build();

  EXPECT_THAT(refusal(archive, limits), HasSubstr("too large for an AppleDouble file"));
}

// Hostile archives.

struct HostileCase {
  std::string name;
  std::string archive;
  std::string message;
};

class HostileArchiveTest : public ArchiveExtractorTest, public ::testing::WithParamInterface<HostileCase> {};

TEST_P(HostileArchiveTest, IsRefusedWholeAndLeavesNothing) {
  EXPECT_THAT(refusal(GetParam().archive), HasSubstr(GetParam().message));
}

std::string repeated(const std::string& text, int times) {
  std::string result;
  for (int i = 0; i < times; ++i) result += text;
  return result;
}

std::string named(const std::string& name) {
  return ZipArchiveBuilder().addFile("first").addFile(name).build();
}

std::string withEntry(testing::ZipTestEntry entry) {
  return ZipArchiveBuilder().addFile("first").add(std::move(entry)).build();
}

std::vector<HostileCase> hostileNames() {
  return {
      {"AbsoluteName", named("/etc/passwd"), "has an absolute name"},
      {"NameThatLeadsOut", named("../evil"), "leads out of the destination"},
      {"NameThatLeadsOutFromWithin", named("a/../../evil"), "leads out of the destination"},
      {"NameThatEndsInTheFolderAround", named("a/.."), "leads out of the destination"},
      {"FolderAround", ZipArchiveBuilder().addFolder("../").build(), "leads out of the destination"},
      {"EmptyComponent", named("a//b"), "empty component"},
      {"NoName", named(""), "has no name"},
      {"NULInAName", named(std::string("a\0b", 3)), "NUL character"},
      {"BackslashOfDOS", withEntry({.name = "..\\evil", .content = "x", .mode = 0, .host = 0}), "backslash"},
      {"UnicodeNameThatLeadsOut",
       withEntry({.name = "a",
                  .content = "x",
                  .extra = zipExtraField(0x7075, "\1" + littleEndian(testing::zipCRC32("a"), 4) + "../evil")}),
       "leads out of the destination"},
      {"LongComponent", named(std::string(256, 'a')), "too long"},
      {"LongName",
       named("a/" + std::string(200, 'b') + "/" + std::string(200, 'b') + "/" + std::string(200, 'b') + "/" +
             std::string(200, 'b') + "/" + std::string(250, 'b')),
       "too long"},
      {"DeepName", named(repeated("a/", 200) + "b"), "too many folders"},
      {"BadUTF8", withEntry({.name = "a\xFF", .content = "x", .flags = 1U << 11}), "no UTF-8"},
      {"DuplicateFiles", ZipArchiveBuilder().addFile("a").addFile("a").build(), "is there twice"},
      {"DuplicateFolders", ZipArchiveBuilder().addFolder("a/").addFolder("a/").build(), "is there twice"},
      {"FileAndFolder", ZipArchiveBuilder().addFile("a").addFolder("a/").build(), "is there twice"},
      {"CaseOfFiles", ZipArchiveBuilder().addFile("Read").addFile("read").build(), "in case or composition"},
      {"CaseOfFolders", ZipArchiveBuilder().addFile("A/x").addFile("a/y").build(), "in case or composition"},
      {"Composition", ZipArchiveBuilder().addFile("\u00E9").addFile("e\u0301").build(), "in case or composition"},
      {"FileInAFile", ZipArchiveBuilder().addFile("a").addFile("a/b").build(), "no folder"},
      {"ThroughALink", ZipArchiveBuilder().addLink("a", "present").addFile("a/b").build(), "through a symbolic link"},
      {"ThroughALinkThatComesLater", ZipArchiveBuilder().addFile("a/b").addLink("a", "present").build(),
       "is there twice"},
      {"ThroughALinkOfOtherCase", ZipArchiveBuilder().addLink("A", "present").addFile("a/b").build(),
       "in case or composition"},
  };
}

std::vector<HostileCase> hostileItems() {
  return {
      {"AbsoluteLink", ZipArchiveBuilder().addLink("a", "/etc").build(), "leads out of the destination"},
      {"LinkThatLeadsOut", ZipArchiveBuilder().addLink("a/b", "../../evil").build(), "leads out of the destination"},
      {"LinksThatLeadOutTogether", ZipArchiveBuilder().addLink("a/b/up", "../..").addLink("c", "a/b/up/../x").build(),
       "leads out of the destination"},
      {"EmptyLink", ZipArchiveBuilder().addLink("a", "").build(), "impossible length"},
      {"LongLink", ZipArchiveBuilder().addLink("a", std::string(1024, 'a')).build(), "impossible length"},
      {"LinkThroughManyFolders", ZipArchiveBuilder().addLink("a", repeated("b/../", 51)).build(),
       "leads through too many folders"},
      {"LinkWithNUL", ZipArchiveBuilder().addLink("a", std::string("b\0c", 3)).build(), "NUL character"},
      {"Fifo", withEntry({.name = "a", .content = "", .mode = 0010644}), "is a special file"},
      {"Device", withEntry({.name = "a", .content = "", .mode = 0020644}), "is a special file"},
      {"BlockDevice", withEntry({.name = "a", .content = "", .mode = 0060644}), "is a special file"},
      {"Socket", withEntry({.name = "a", .content = "", .mode = 0140644}), "is a special file"},
      {"HardLink",
       withEntry({.name = "a", .content = "", .extra = zipExtraField(0x000D, std::string(12, '\0') + "/etc/passwd")}),
       "is a hard link"},
      {"FolderNameOfALink", withEntry({.name = "a/", .content = "x", .mode = 0120777}), "name of a folder"},
      {"FolderWithContent", withEntry({.name = "a/", .content = "x", .mode = 0040755}), "folder with contents"},
      {"Encrypted", withEntry({.name = "a", .content = "x", .flags = 1}), "is encrypted"},
      {"StronglyEncrypted", withEntry({.name = "a", .content = "x", .flags = 1U << 6}), "is encrypted"},
      {"UnknownMethod", withEntry({.name = "a", .content = "x", .method = 12}), "method 12"},
      {"WrongCRC", withEntry({.name = "a", .content = "x", .crc32 = 1}), "is damaged"},
      {"WrongCRCOfALink", withEntry({.name = "a", .content = "x", .mode = 0120777, .crc32 = 1}), "is damaged"},
      {"StoredSizesDiffer", withEntry({.name = "a", .content = "abc", .size = 2}), "contradict each other"},
      {"DeflatedTooShort", withEntry({.name = "a", .content = "abc", .method = 8, .size = 4}), "is damaged"},
      {"DeflatedTooLong", withEntry({.name = "a", .content = "abc", .method = 8, .size = 2}), "is damaged"},
      {"DeflatedImpossibly", withEntry({.name = "a", .content = "abc", .method = 8, .size = 100'000'000}),
       "contradict each other"},
      {"NotDeflated", withEntry({.name = "a", .content = "abc", .method = 8, .data = "\xFF\xFF\xFF"}), "is damaged"},
      {"MoreThanDeflated",
       withEntry({.name = "a", .content = "abc", .method = 8, .data = testing::deflated("abc") + "x"}), "is damaged"},
  };
}

/// An archive whose zip64 record is a byte shorter than all that it has to say.
std::string withShortZip64Record() {
  constexpr std::size_t kLength = 56;
  std::string bytes = ZipArchiveBuilder().addFile("a").withZip64().build();
  const std::size_t record = bytes.find("PK\6\6");
  bytes.replace(record + 4, 8, littleEndian(kLength - 1 - 12, 8));
  return bytes.erase(record + kLength - 1, 1);
}

/// Numbers that only the zip64 field has, which here has that value.
std::vector<HostileCase> hostileZip64Numbers() {
  constexpr std::uint32_t kMarker = 0xFFFFFFFF;
  const std::string huge(8, '\xFF');
  return {
      {"HugeSizes",
       withEntry({.name = "a",
                  .content = "x",
                  .extra = zipExtraField(1, huge + huge),
                  .size = kMarker,
                  .compressedSize = kMarker}),
       "unpacks to more than"},
      {"HugeCompressedSize",
       withEntry(
           {.name = "a", .content = "x", .method = 8, .extra = zipExtraField(1, huge), .compressedSize = kMarker}),
       "reaches into the archive's directory"},
      {"HugeLocalHeaderOffset",
       withEntry({.name = "a", .content = "x", .extra = zipExtraField(1, huge), .localHeaderOffset = kMarker}),
       "not where it should be"},
      {"ShortZip64Field",
       withEntry({.name = "a",
                  .content = "x",
                  .extra = zipExtraField(1, std::string(4, '\xFF')),
                  .size = kMarker,
                  .compressedSize = kMarker}),
       "ends too early"},
      {"ShortZip64Record", withShortZip64Record(), "contradict each other"},
  };
}

std::vector<HostileCase> hostileStructures() {
  const std::string whole = ZipArchiveBuilder().addFile("first").addFile("second").build();
  return {
      {"NoArchive", "This is no archive.", "is no zip archive"},
      {"Empty", "", "is no zip archive"},
      {"WithoutEnd", whole.substr(0, whole.size() - 1), "is no zip archive"},
      {"WithoutBeginning", whole.substr(5), "directory is not where it should be"},
      {"WithSomethingBefore", "MZ" + whole, "directory is not where it should be"},
      {"WithSomethingBehind", whole + "x", "is no zip archive"},
      {"WrongCount", ZipArchiveBuilder().addFile("a").withEntryCount(7).build(), "another number of entries"},
      {"AnotherNameBefore", withEntry({.name = "a", .content = "x", .localName = "b"}), "differently in two places"},
      {"AnotherMethodBefore", withEntry({.name = "a", .content = "x", .localMethod = 8}), "differently in two places"},
      {"AnotherChecksumBefore", withEntry({.name = "a", .content = "x", .localCRC32 = 7}), "differently in two places"},
      {"OneEntryInAnother", withEntry({.name = "first", .content = "content", .localHeaderOffset = 0}),
       "shares bytes with another entry"},
      {"NoHeaderThere", withEntry({.name = "a", .content = "x", .localHeaderOffset = 3}), "not where it should be"},
      {"BehindTheEnd", withEntry({.name = "a", .content = "x", .localHeaderOffset = 1'000'000}),
       "not where it should be"},
      {"IntoTheDirectory", withEntry({.name = "a", .content = "x", .size = 99, .compressedSize = 99}),
       "reaches into the archive's directory"},
      {"TwoZip64Fields", withEntry({.name = "a", .content = "x", .extra = zipExtraField(1, {}) + zipExtraField(1, {})}),
       "two zip64"},
      {"BrokenExtraField", withEntry({.name = "a", .content = "x", .extra = littleEndian(1, 2) + littleEndian(9, 2)}),
       "ends too early"},
  };
}

std::string caseName(const ::testing::TestParamInfo<HostileCase>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Names, HostileArchiveTest, ::testing::ValuesIn(hostileNames()), caseName);
INSTANTIATE_TEST_SUITE_P(Items, HostileArchiveTest, ::testing::ValuesIn(hostileItems()), caseName);
INSTANTIATE_TEST_SUITE_P(Zip64Numbers, HostileArchiveTest, ::testing::ValuesIn(hostileZip64Numbers()), caseName);
INSTANTIATE_TEST_SUITE_P(Structures, HostileArchiveTest, ::testing::ValuesIn(hostileStructures()), caseName);

TEST_F(ArchiveExtractorTest, EveryTruncationIsRefused) {
  const std::string whole = ZipArchiveBuilder().addFile("a").addLink("b", "a").build();

  for (std::size_t length = 0; length < whole.size(); ++length) {
    SCOPED_TRACE(length);
    EXPECT_NE(refusal(whole.substr(0, length)), "");
  }
}

TEST_F(ArchiveExtractorTest, AnArchiveThatIsMissingOrAFolderIsAnError) {
  EXPECT_THROW(extract(), QuillonSystemError);
  fs::create_directory(archive_);
  EXPECT_THROW(extract(), ZipArchiveError);
}

// Limits.

TEST_F(ArchiveExtractorTest, BombsAreRefusedBeforeAnythingIsWritten) {
  const std::string zeros(1'000'000, '\0');
  const std::string archive = ZipArchiveBuilder().add({.name = "a", .content = zeros, .method = 8}).build();

  EXPECT_THAT(refusal(archive, {.unratedSize = 500'000}), HasSubstr("more than 200 times its length"));
  EXPECT_THAT(refusal(archive, {.totalSize = 999'999}), HasSubstr("more than 999999 bytes"));
  EXPECT_THAT(refusal(archive, {.entries = 0}), HasSubstr("more than 0 entries"));
  EXPECT_THAT(refusal(archive, {.directoryLength = 10}), HasSubstr("directory is too long"));
}

TEST_F(ArchiveExtractorTest, LinksMayNotHaveMoreThanSoManyBytesOfTargetsTogether) {
  const std::string archive = ZipArchiveBuilder().addLink("a", "123").addLink("b", "4567").build();

  EXPECT_THAT(refusal(archive, {.linkTargetsLength = 6}), HasSubstr("more than 6 bytes of targets of links"));

  EXPECT_NO_THROW(extract({.linkTargetsLength = 7}));
}

TEST_F(ArchiveExtractorTest, ALinkMayLeadAsFarAsTheLimitsSay) {
  const std::string longest = repeated("a/", 99) + "a";

  extract(ZipArchiveBuilder().addLink("far", longest).addLink("long", std::string(1023, 'a')));

  EXPECT_EQ(item("far").content, longest);
  EXPECT_EQ(item("long").content, std::string(1023, 'a'));
}

TEST_F(ArchiveExtractorTest, AVolumeThatIsFullIsAnErrorAndLeavesNothing) {
  const std::string archive = ZipArchiveBuilder().addFile("small").addFile("large", std::string(100'000, 'x')).build();
  testing::writeFile(archive_, archive);
  const testing::ScopedFileLengthLimit limit(50'000);

  try {
    extract();
    FAIL() << "the file fitted";
  } catch (const QuillonSystemError& error) {
    EXPECT_TRUE(error.isPOSIX(EFBIG));
  }

  EXPECT_EQ(treeSnapshot(destination_).size(), 2U);
}

TEST_F(ArchiveExtractorTest, AMemoryVolumeThatIsFullIsLeftEmpty) {
  const fs::path volume = folder_ / "volume";
  fs::create_directory(volume);
  const testing::ScopedMount mount(volume, "size=1m");
  if (!mount) GTEST_SKIP() << "cannot mount";
  destination_ = volume;
  writeArchive(ZipArchiveBuilder().addFile("a").addFile("b", std::string(3'000'000, 'x')).build());

  EXPECT_THROW(extract(), QuillonSystemError);

  EXPECT_TRUE(fs::is_empty(volume));
}

TEST_F(ArchiveExtractorTest, ARequestToStopLeavesNothing) {
  writeArchive(ZipArchiveBuilder().addFile("a").build());
  std::stop_source source;
  source.request_stop();

  EXPECT_THROW(extract({}, source.get_token()), QuillonCancellationError);

  EXPECT_EQ(treeSnapshot(destination_).size(), 2U);
}

TEST_F(ArchiveExtractorTest, ARequestToStopAfterAnyItemLeavesNothing) {
  writeArchive(ZipArchiveBuilder()
                   .addFile("present/file", "replaced")
                   .addFile("present/added")
                   .addLink("present/link", "file")
                   .addFolder("folder/inner/", 0555)
                   .build());
  const auto before = treeSnapshot(folder_.path());
  std::vector<std::string> stops;
  for (std::size_t number = 1;; ++number) {
    std::stop_source source;
    std::size_t count = 0;  // all files are in one folder, and so in one thread's hands
    bool isStopped = false;
    try {
      extractArchive(archive_.string(), destination_.string(), {}, source.get_token(), [&](const std::string& path) {
        if (++count != number) return;
        stops.push_back(path);
        source.request_stop();
      });
    } catch (const QuillonCancellationError&) {
      isStopped = true;
    }
    if (count < number) break;
    EXPECT_TRUE(isStopped) << stops.back();
    EXPECT_TRUE(isAlike(treeSnapshot(folder_.path()), before)) << stops.back();
  }

  EXPECT_THAT(stops, ElementsAre("present/file", "present/added", "present/link", "present", "folder/inner", "folder"));
  EXPECT_EQ(item("present/file").content, "replaced");
}

TEST_F(ArchiveExtractorTest, ARequestToStopComesBeforeWhatEntriesHold) {
  std::stop_source source;
  source.request_stop();

  for (const ZipArchiveBuilder& archive :
       {ZipArchiveBuilder().addLink("a", "/etc"),
        ZipArchiveBuilder().addFile("a").addFile("__MACOSX/._a", "no AppleDouble")}) {
    writeArchive(archive.build());

    EXPECT_THROW(extract({}, source.get_token()), QuillonCancellationError);
  }
}

}  // namespace
}  // namespace quillon
