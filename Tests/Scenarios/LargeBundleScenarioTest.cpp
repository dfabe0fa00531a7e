// A bundle of 100,000 files takes the whole road; one changed file among them is found.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "CodeSignature/CodeSigner.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/ReplacementRequestBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::makeApplicationBundle;
using testing::makeReplacementRequest;
using testing::versionOfApplicationBundle;

constexpr int kFolders = 100;
constexpr int kFilesPerFolder = 1000;

std::string command(const std::string& name) {
  return std::string(QUILLON_BINARY_FOLDER) + "/" + name;
}

void addManyFiles(const fs::path& resources) {
  for (int i = 0; i < kFolders; ++i) {
    const fs::path folder = resources / std::to_string(i);
    fs::create_directory(folder);
    for (int j = 0; j < kFilesPerFolder; ++j) {
      const int file = open((folder / std::to_string(j)).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
      ASSERT_GE(file, 0);
      close(file);
    }
  }
}

TEST(LargeBundleScenario, AHundredThousandFilesAreSealedInstalledAndEachIsChecked) {
  const testing::TemporaryDirectory folder;
  const fs::path installed = folder / "Applications/Example.app";
  const fs::path staged = folder / "Staging/Example.app";
  makeApplicationBundle(installed, {.version = "1.0", .build = "1"});
  makeApplicationBundle(staged, {.version = "2.0", .build = "2"});
  addManyFiles(staged / "Contents/Resources");
  signCode(QuillonURL::fileURL(staged.string()), {});
  const VeskAppBundleReplacementRequest request = makeReplacementRequest(staged, installed);

  const QuillonProcessResult result =
      QuillonPosixProcessRunner().run(command("QuillonUpdateInstaller"), request.helperArguments(0));
  EXPECT_EQ(result, (QuillonProcessResult{.status = 0, .output = ""}));
  EXPECT_EQ(versionOfApplicationBundle(installed), "2.0");

  testing::writeFile(installed / "Contents/Resources/57/123", "x");
  const QuillonProcessResult verification = QuillonPosixProcessRunner().run(
      command("quillon-codesign"), {"--verify", "--strict", "--deep", installed.string()});
  EXPECT_EQ(verification.status, 1);
  EXPECT_THAT(verification.output,
              ::testing::HasSubstr("file modified: " + (installed / "Contents/Resources/57/123").string()));
}

}  // namespace
}  // namespace quillon
