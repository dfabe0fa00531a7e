// Archives that other programs make are unpacked, and they unpack the archives that are made here.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "Support/TemporaryDirectory.h"
#include "Support/TreeSnapshot.h"
#include "ZipArchive/Posix/ArchiveExtractor.h"
#include "ZipArchive/Posix/ArchiveMaker.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::treeSnapshot;
using testing::writeFile;

struct Program {
  std::string name;
  /// Makes ../archive of what is in the working folder, or unpacks it there.
  std::string command;
  bool knowsLinks = true;
};

class ArchivesOfOtherProgramsTest : public ::testing::TestWithParam<Program> {
 protected:
  ArchivesOfOtherProgramsTest() {
    const fs::path versions = source_ / "Example.framework/Versions";
    writeFile(versions / "A/tool", "#!/bin/sh\n");
    writeFile(versions / "A/Resources/größe.txt", std::string(50'000, 'x'));
    writeFile(versions / "A/Resources/empty", "");
    fs::permissions(versions / "A/tool", fs::perms(0755));
    fs::permissions(versions / "A/Resources/größe.txt", fs::perms(0640));
    fs::permissions(versions / "A/Resources/empty", fs::perms(0400));
    if (GetParam().knowsLinks) {
      fs::create_symlink("A", versions / "Current");
      fs::create_symlink("Versions/Current/tool", source_ / "Example.framework/tool");
    }
    fs::create_directory(destination_);
  }

  void runIn(const fs::path& folder) const {
    const std::string command = "cd '" + folder.string() + "' && { " + GetParam().command + "; } >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);  // NOLINT(cert-env33-c): the other program is a command
  }
  /// Times of folders without entry and fractions of seconds are not kept by every program.
  void expectSameTrees() const {
    auto expected = treeSnapshot(source_);
    auto unpacked = treeSnapshot(destination_);
    for (auto* snapshot : {&expected, &unpacked}) {
      for (auto& [name, item] : *snapshot) {
        if (!S_ISREG(item.mode)) item.modificationTime = 0;
        // A program that knows no seconds rounds to even ones.
        item.modificationTime &= ~1L;
      }
    }
    EXPECT_EQ(unpacked, expected);
  }

  testing::TemporaryDirectory folder_;
  fs::path source_ = folder_ / "source";
  fs::path archive_ = folder_ / "archive.zip";
  fs::path destination_ = folder_ / "unpacked";
};

std::string programName(const ::testing::TestParamInfo<Program>& info) {
  return info.param.name;
}

using ArchivesMadeByOthersTest = ArchivesOfOtherProgramsTest;

TEST_P(ArchivesMadeByOthersTest, AreUnpackedAsTheyWere) {
  runIn(source_);

  extractArchive(archive_.string(), destination_.string(), {}, {});

  expectSameTrees();
}

constexpr const char* kPython =
    "python3 -c \"import os, zipfile\n"
    "with zipfile.ZipFile('../archive.zip', 'w', zipfile.ZIP_DEFLATED) as archive:\n"
    "    for folder, _, names in os.walk('.'):\n"
    "        for name in names: archive.write(os.path.join(folder, name))\n\"";

INSTANTIATE_TEST_SUITE_P(
    Programs, ArchivesMadeByOthersTest,
    ::testing::Values(Program{"InfoZIP", "zip -qry ../archive.zip ."},
                      Program{"InfoZIPToAPipe", "zip -qry - . | cat > ../archive.zip"},
                      Program{"SevenZip", "7zz a -snl -tzip ../archive.zip ."},
                      Program{"Bsdtar", "bsdtar --format zip -cf ../archive.zip ."},
                      Program{"BsdtarStored", "bsdtar --format zip --options compression=store -cf ../archive.zip ."},
                      Program{"BsdtarToAPipe", "bsdtar --format zip -cf - . | cat > ../archive.zip"},
                      Program{"Python", kPython, false}),
    programName);

using ArchivesForOthersTest = ArchivesOfOtherProgramsTest;

TEST_P(ArchivesForOthersTest, AreUnpackedByThem) {
  makeArchive(source_.string(), archive_.string(), ArchiveRoot::contents, {}, {});

  runIn(destination_);

  expectSameTrees();
}

// 7-Zip makes no link that leads through another one, as those of frameworks do.
INSTANTIATE_TEST_SUITE_P(Programs, ArchivesForOthersTest,
                         ::testing::Values(Program{"InfoZIP", "unzip -q ../archive.zip"},
                                           Program{"SevenZip", "7zz x ../archive.zip", false},
                                           Program{"Bsdtar", "bsdtar -xf ../archive.zip"}),
                         programName);

TEST(ArchivesOfMacOSTest, AreUnpackedWithTheirAttributes) {
  const testing::TemporaryDirectory folder;
  const std::string archive = (folder / "archive.zip").string();
  const std::string command = QUILLON_SOURCE_FOLDER "/Tests/ZipArchiveTests/makeMacOSArchive.py '" + archive + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);  // NOLINT(cert-env33-c): the script is a command

  extractArchive(archive, (folder / "unpacked").string(), {}, {});

  const auto items = treeSnapshot(folder / "unpacked");
  EXPECT_EQ(items.size(), 6U);
  const testing::ItemSnapshot& tool = items.at("Example.app/Contents/tool");
  EXPECT_EQ(tool.mode, 0100755U);
  EXPECT_EQ(tool.modificationTime, 1'600'000'000);
  EXPECT_EQ(tool.attributes,
            (std::map<std::string, std::string>{{"user.com.apple.cs.CodeDirectory", std::string("directory\0", 10)},
                                                {"user.com.apple.quarantine", "0081;5f5e1000;Browser;"}}));
  EXPECT_EQ(items.at("Example.app/Contents/größe").content.size(), 5000U);
  EXPECT_EQ(items.at("Example.app/Contents/link").content, "tool");
  EXPECT_EQ(items.at("Example.app/Contents/empty").mode, 0100600U);
}

}  // namespace
}  // namespace quillon
