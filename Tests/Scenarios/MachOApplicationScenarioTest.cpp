// An application as it is shipped for macOS, signed by the command, and then tampered with from the outside.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "CodeSignature/CodeSigner.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Support/MachOApplication.h"
#include "Support/MachOBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using testing::MachOApplication;
using ::testing::Not;
using testing::readFile;
using testing::TemporaryDirectory;
using testing::writeFile;

class MachOApplicationScenarioTest : public ::testing::Test {
 protected:
  [[nodiscard]] static QuillonProcessResult codesign(const std::vector<std::string>& arguments) {
    return QuillonPosixProcessRunner().run(QUILLON_BINARY_FOLDER "/quillon-codesign", arguments);
  }
  [[nodiscard]] QuillonProcessResult sign(std::vector<std::string> options = {}) const {
    writeFile(folder_ / "key", testing::sharedSigningIdentity().key);
    writeFile(folder_ / "chain", testing::sharedSigningIdentity().certificates);
    options.insert(options.begin(),
                   {"--sign", "--key", (folder_ / "key").string(), "--certificate", (folder_ / "chain").string()});
    options.push_back(application_.path().string());
    return codesign(options);
  }
  [[nodiscard]] QuillonProcessResult verify() const {
    return codesign({"--verify", "--strict", "--deep", application_.path().string()});
  }
  [[nodiscard]] static std::string describe(const fs::path& code) {
    return codesign({"-dv", "--verbose=4", code.string()}).output;
  }

  TemporaryDirectory folder_;
  MachOApplication application_{folder_ / "Example.app"};
};

TEST_F(MachOApplicationScenarioTest, SignedApplicationVerifiesWithAllItsNestedCode) {
  const QuillonProcessResult signing = sign();
  const QuillonProcessResult verification = verify();

  EXPECT_EQ(signing.status, 0) << signing.output;
  EXPECT_EQ(verification.status, 0);
  EXPECT_EQ(verification.output, "");
  for (const fs::path& code : {application_.path(), application_.helper.path(), application_.service.path(),
                               application_.plugIn.path(), application_.framework.path(), application_.dynamicLibrary,
                               application_.tool, application_.framework / "Versions/A/Helpers/tool"}) {
    EXPECT_EQ(codesign({"--verify", "--strict", "--deep", code.string()}).output, "") << code;
  }
}

TEST_F(MachOApplicationScenarioTest, DisplayShowsTheTeamOnceItsRootIsAnAnchor) {
  ASSERT_EQ(sign().status, 0);
  EXPECT_THAT(describe(application_.path()), HasSubstr("\nTeamIdentifier=not set\n"));

  const fs::path settings = fs::path(QUILLON_BINARY_FOLDER).parent_path() / "etc/quillon";
  const fs::path anchor = settings / "anchors.d" / ("test-" + std::to_string(getpid()) + ".pem");
  writeFile(anchor, testing::sharedSigningIdentity().root);
  chmod(settings.c_str(), 0755);
  chmod(anchor.parent_path().c_str(), 0755);
  chmod(anchor.c_str(), 0644);
  const std::string application = describe(application_.path());
  const std::string framework = describe(application_.framework.path());
  fs::remove(anchor);

  EXPECT_THAT(application, HasSubstr("\nFormat=app bundle with Mach-O universal (x86_64 arm64)\n"));
  EXPECT_THAT(application, HasSubstr("\nTeamIdentifier=TEAM123456\n"));
  EXPECT_THAT(application, HasSubstr("\nSealed Resources version=2 rules=13 files=9\n"));
  EXPECT_THAT(framework, HasSubstr("\nFormat=bundle with Mach-O universal (x86_64 arm64)\n"));
  EXPECT_THAT(framework, HasSubstr("\nTeamIdentifier=TEAM123456\n"));
}

TEST_F(MachOApplicationScenarioTest, OptionsReachTheSignature) {
  writeFile(folder_ / "entitlements.plist",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n"
            "<key>com.apple.security.app-sandbox</key><true/></dict></plist>\n");

  const QuillonProcessResult signing = sign({"--options", "runtime", "--identifier", "com.example.other", "--timestamp",
                                             "none", "--entitlements", (folder_ / "entitlements.plist").string()});

  ASSERT_EQ(signing.status, 0) << signing.output;
  EXPECT_EQ(verify().output, "");
  const std::string text = describe(application_.path());
  EXPECT_THAT(text, HasSubstr("\nIdentifier=com.example.other\n"));
  EXPECT_THAT(text, HasSubstr(" flags=0x10000(runtime) "));
  EXPECT_THAT(text, HasSubstr("+7 location=embedded\n"));
  EXPECT_THAT(text, HasSubstr("\nRuntime Version=14.2.0\n"));
}

TEST_F(MachOApplicationScenarioTest, EqualApplicationsHaveEqualAdHocSignatures) {
  const MachOApplication other(folder_ / "other/Example.app");
  ASSERT_EQ(codesign({"--sign", "-", application_.path().string(), other.path().string()}).status, 0);

  for (const auto& entry : fs::recursive_directory_iterator(application_.path())) {
    if (!entry.is_regular_file() || entry.is_symlink()) continue;
    const fs::path same = other.path() / fs::relative(entry.path(), application_.path());
    EXPECT_TRUE(readFile(entry.path()) == readFile(same)) << same;
  }
}

TEST_F(MachOApplicationScenarioTest, ValidSignaturesOfNestedCodeAreKeptUnlessAllIsSignedAgain) {
  ASSERT_EQ(sign().status, 0);
  const std::string signedLibrary = readFile(application_.dynamicLibrary);

  ASSERT_EQ(sign({"--force"}).status, 0);
  EXPECT_TRUE(readFile(application_.dynamicLibrary) == signedLibrary);
  ASSERT_EQ(codesign({"--sign", "-", "--force", "--deep", application_.path().string()}).status, 0);
  EXPECT_FALSE(readFile(application_.dynamicLibrary) == signedLibrary);
  EXPECT_EQ(verify().output, "");
}

// ---- Tampering -----------------------------------------------------------------------------------------------------

void flipByte(const fs::path& file, std::size_t offset) {
  std::string content = readFile(file);
  content.at(offset) = static_cast<char>(content.at(offset) ^ 1);
  writeFile(file, content);
}

struct ApplicationTampering {
  const char* name;
  std::function<void(const MachOApplication&)> make;
  std::string message;
  /// Lines behind the message, with "%" for the application and "@" for its Contents folder.
  std::string details;
};

class MachOApplicationTamperingTest : public MachOApplicationScenarioTest,
                                      public ::testing::WithParamInterface<ApplicationTampering> {};

TEST_P(MachOApplicationTamperingTest, IsRefused) {
  ASSERT_EQ(sign().status, 0);
  ASSERT_EQ(verify().output, "");

  GetParam().make(application_);
  const QuillonProcessResult verification = verify();

  std::string expected = application_.path().string() + ": " + GetParam().message + "\n";
  for (const char c : GetParam().details) {
    if (c == '%' || c == '@') expected += application_.path().string();
    if (c == '@') expected += "/Contents";
    if (c != '%' && c != '@') expected += c;
  }
  EXPECT_EQ(verification.status, 1);
  EXPECT_EQ(verification.output, expected);
}

constexpr const char* kModified = "invalid signature (code or signature have been modified)";
constexpr const char* kBadResource = "a sealed resource is missing or invalid";

/// First byte of the second architecture (arm64): slices stand at multiples of 16 KiB.
constexpr std::size_t kSecondSlice = 0x8000;

const ApplicationTampering kApplicationTamperings[] = {
    {"CodeOfOneArchitecture", [](const auto& a) { flipByte(a / "MacOS/Example", 0x4000 + 0x1010); }, kModified,
     "In architecture: x86_64\n"},
    {"CodeOfTheOther", [](const auto& a) { flipByte(a / "MacOS/Example", kSecondSlice + 0x1010); }, kModified,
     "In architecture: arm64\n"},
    {"Information", [](const auto& a) { flipByte(a / "Info.plist", 60); },
     "invalid Info.plist (plist or signature have been modified)", "In architecture: x86_64\n"},
    {"Seal", [](const auto& a) { flipByte(a / "_CodeSignature/CodeResources", 300); },
     "invalid resource directory (directory or signature have been modified)", "In architecture: x86_64\n"},
    {"NoSeal", [](const auto& a) { fs::remove(a / "_CodeSignature/CodeResources"); },
     "invalid resource directory (directory or signature have been modified)", "In architecture: x86_64\n"},
    {"ChangedResource", [](const auto& a) { flipByte(a / "Resources/one.txt", 0); }, kBadResource,
     "file modified: @/Resources/one.txt\n"},
    {"AddedResource", [](const auto& a) { writeFile(a / "Resources/new", "x"); }, kBadResource,
     "file added: @/Resources/new\n"},
    {"RenamedResource", [](const auto& a) { fs::rename(a / "Resources/one.txt", a / "Resources/two.txt"); },
     kBadResource, "file added: @/Resources/two.txt\nfile missing: @/Resources/one.txt\n"},
    {"RetargetedLink",
     [](const auto& a) {
       fs::remove(a / "Resources/current.txt");
       fs::create_symlink("de.lproj", a / "Resources/current.txt");
     },
     kBadResource, "file modified: @/Resources/current.txt\n"},
    {"AddedExecutable",
     [](const auto& a) { writeFile(a / "MacOS/extra", testing::MachOBuilder(testing::kARM64).build()); }, kBadResource,
     "file added: @/MacOS/extra\n"},
    {"ChangedScript", [](const auto& a) { flipByte(a / "MacOS/script", 3); }, kBadResource,
     "file modified: @/MacOS/script\n"},
    {"ChangedLibrary", [](const auto& a) { flipByte(a.dynamicLibrary, 0x4000 + 0x1010); }, kModified,
     "In subcomponent: @/Frameworks/libexample.dylib\nIn architecture: x86_64\n"},
    {"UnsignedTool", [](const auto& a) { writeFile(a.tool, testing::MachOBuilder(testing::kARM64).build()); },
     "code object is not signed at all", "In subcomponent: @/MacOS/tool\n"},
    {"ToolOfAnotherSigner",
     [](const auto& a) { signCode(QuillonURL::fileURL(a.tool.string()), {.replacesSignature = true}); },
     "nested code is modified or invalid", "file modified: @/MacOS/tool\n"},
    {"LibraryInPlaceOfTheTool",
     [](const auto& a) { fs::copy_file(a.dynamicLibrary, a.tool, fs::copy_options::overwrite_existing); },
     "nested code is modified or invalid", "file modified: @/MacOS/tool\n"},
    {"ChangedServiceResource", [](const auto& a) { writeFile(a.service / "Resources/new", "x"); }, kBadResource,
     "file added: @/XPCServices/Service.xpc/Contents/Resources/new\nIn subcomponent: @/XPCServices/Service.xpc\n"},
    {"InnermostCode", [](const auto& a) { flipByte(a.plugIn / "MacOS/Inner", 0x4000 + 0x1010); }, kModified,
     "In subcomponent: @/Helpers/Helper.app/Contents/PlugIns/Inner.bundle\nIn architecture: x86_64\n"},
    {"FrameworkResource", [](const auto& a) { flipByte(a.framework / "Versions/A/Resources/style.css", 0); },
     kBadResource,
     "file modified: @/Frameworks/Kit.framework/Versions/A/Resources/style.css\n"
     "In subcomponent: @/Frameworks/Kit.framework\n"},
    {"FrameworkTool", [](const auto& a) { flipByte(a.framework / "Versions/A/Helpers/tool", 0x1010); }, kModified,
     "In subcomponent: @/Frameworks/Kit.framework/Versions/A/Helpers/tool\nIn architecture: x86_64\n"},
    {"AddedVersion", [](const auto& a) { fs::create_directory(a.framework / "Versions/B"); },
     "embedded framework contains modified or invalid version",
     "file modified: @/Frameworks/Kit.framework/Versions/B\nIn subcomponent: @/Frameworks/Kit.framework\n"},
    {"RetargetedVersion",
     [](const auto& a) {
       fs::rename(a.framework / "Versions/A", a.framework / "Versions/B");
       fs::remove(a.framework / "Versions/Current");
       fs::create_symlink("B", a.framework / "Versions/Current");
       fs::create_symlink("/tmp", a.framework / "Versions/A");
     },
     "unsealed contents present in the root directory of an embedded framework",
     "file added: @/Frameworks/Kit.framework/Versions/A\nIn subcomponent: @/Frameworks/Kit.framework\n"},
    {"FileBesideContents", [](const auto& a) { writeFile(a.path() / "extra", "x"); },
     "unsealed contents present in the bundle root", "file added: %/extra\n"},
    {"SignatureInTwoPlaces", [](const auto& a) { writeFile(a / "_CodeSignature/CodeEntitlements", "x"); }, kModified,
     "In architecture: x86_64\n"},
    {"DataBehindTheProgram", [](const auto& a) { writeFile(a / "MacOS/Example", readFile(a / "MacOS/Example") + "x"); },
     "main executable failed strict validation", ""},
};
std::string tamperingName(const ::testing::TestParamInfo<ApplicationTampering>& info) {
  return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Tamperings, MachOApplicationTamperingTest, ::testing::ValuesIn(kApplicationTamperings),
                         tamperingName);

TEST_F(MachOApplicationScenarioTest, ProgramThatOnlyItsLinkerSignedIsNoSignedApplication) {
  const testing::SignedBundleBuilder bundle(folder_ / "Linked.app");
  ASSERT_EQ(codesign({"--sign", "-", application_.tool.string()}).status, 0);
  testing::SignedBundleBuilder(folder_ / "Linked.app")
      .withFile("MacOS/Linked", readFile(application_.tool))
      .withInformation("CFBundleExecutable", "Linked");

  const QuillonProcessResult verification = codesign({"--verify", "--strict", "--deep", bundle.path().string()});

  EXPECT_EQ(verification.output, bundle.path().string() +
                                     ": code has no resources but signature indicates they must be present\n"
                                     "In architecture: arm64\n");
}

}  // namespace
}  // namespace quillon
