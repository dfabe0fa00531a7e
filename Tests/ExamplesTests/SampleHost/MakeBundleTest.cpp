#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "Support/TemporaryDirectory.h"

namespace sample {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class MakeBundleTest : public ::testing::Test {
 protected:
  quillon::QuillonProcessResult make(const std::string& name) {
    const std::string source = QUILLON_SOURCE_FOLDER;
    return quillon::QuillonPosixProcessRunner().run(
        source + "/Examples/SampleHost/make_bundle",
        {"--identifier", "org.example.Sample", "--version", "1.0", "--build", "1", "--name", name, "--texts",
         source + "/Resources/Texts", fs::canonical("/proc/self/exe").string(), bundle_.string()});
  }
  [[nodiscard]] std::string texts() const {
    return quillon::testing::readFile(bundle_ / "Contents/Resources/en.lproj/Localizable.strings");
  }

  const quillon::testing::TemporaryDirectory folder_;
  const fs::path bundle_ = folder_ / "Sample.app";
};

TEST_F(MakeBundleTest, ANameWithCharactersOfSedsAndOfTheTextsIsTakenAsItIs) {
  const std::string name = R"(An Example & "Sons" \ 1)";

  const auto result = make(name);

  ASSERT_EQ(result.status, 0) << result.output;
  EXPECT_EQ(quillon::bundleInformationText(*quillon::makeSystemFileManager(),
                                           quillon::QuillonURL::fileURL(bundle_.string()), "CFBundleName"),
            name);
  EXPECT_TRUE(fs::exists(bundle_ / "Contents/MacOS" / name));
  const std::string escaped = R"("An Example & \"Sons\" \\ 1 version %@ is now available)";
  EXPECT_THAT(texts(), HasSubstr("\n" + escaped));
  EXPECT_THAT(texts(), HasSubstr(" = " + escaped));
}

TEST_F(MakeBundleTest, ANameThatIsNoFilesIsRefused) {
  const auto result = make("Input/Output");

  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.output, HasSubstr("--name is the name of a file"));
  EXPECT_FALSE(fs::exists(bundle_));
}

}  // namespace
}  // namespace sample
