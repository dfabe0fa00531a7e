#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/CodeSignatureVerifier.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::readFile;
using testing::SignedBundleBuilder;
using testing::TemporaryDirectory;
using testing::writeFile;
using enum CodeSignatureErrorCode;

void append(const fs::path& file, std::string_view text) {
  writeFile(file, readFile(file) + std::string(text));
}

CodeSignatureVerdict verify(const SignedBundleBuilder& bundle) {
  return verifyCode(bundle.url());
}

// ---- One change to a signed bundle, and what is said about it -------------------------------------------------------

struct Tampering {
  const char* name;
  std::function<void(const SignedBundleBuilder&)> change;
  CodeSignatureErrorCode failure;
  std::vector<std::string> details;  // paths below Contents
};

class CodeSignatureVerifierTamperingTest : public ::testing::TestWithParam<Tampering> {};

TEST_P(CodeSignatureVerifierTamperingTest, IsFound) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().sign();
  ASSERT_TRUE(verify(bundle).isValid());

  GetParam().change(bundle);
  const CodeSignatureVerdict verdict = verify(bundle);

  EXPECT_EQ(verdict.exitStatus(), 1);
  EXPECT_EQ(verdict.failure, GetParam().failure) << verdict.message;
  EXPECT_EQ(verdict.message, codeSignatureMessage(GetParam().failure));
  std::vector<std::string> expected;
  for (const std::string& detail : GetParam().details) {
    const std::size_t colon = detail.find(": ") + 2;
    expected.push_back(detail.substr(0, colon) + (bundle / detail.substr(colon)).lexically_normal().string());
  }
  EXPECT_EQ(verdict.details, expected);
  EXPECT_EQ(verdict.subcomponent, "");
}

void makeSocket(const fs::path& path) {
  const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.string().size(), sizeof address.sun_path);
  path.string().copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  close(descriptor);
}

const Tampering kTamperings[] = {
    {"ChangedResource",
     [](const auto& b) { append(b / "Resources/one.txt", "x"); },
     badResource,
     {"file modified: Resources/one.txt"}},
    {"ChangedHelper",
     [](const auto& b) { append(b / "MacOS/helper", "x"); },
     badResource,
     {"file modified: MacOS/helper"}},
    {"ChangedOptionalResource",
     [](const auto& b) { append(b / "Resources/de.lproj/Main.strings", "x"); },
     badResource,
     {"file modified: Resources/de.lproj/Main.strings"}},
    {"AddedResource",
     [](const auto& b) { writeFile(b / "Resources/new.txt", "x"); },
     badResource,
     {"file added: Resources/new.txt"}},
    {"AddedEmptyFileInNewFolder",
     [](const auto& b) { writeFile(b / "Else/where/x", ""); },
     badResource,
     {"file added: Else/where/x"}},
    {"AddedLink",
     [](const auto& b) { fs::create_symlink("one.txt", b / "Resources/l"); },
     badResource,
     {"file added: Resources/l"}},
    {"AddedNestedCode",
     [](const auto& b) { SignedBundleBuilder(b / "PlugIns/N.bundle").sign(); },
     badResource,
     {"file added: PlugIns/N.bundle"}},
    {"RemovedResource",
     [](const auto& b) { fs::remove(b / "Resources/one.txt"); },
     badResource,
     {"file missing: Resources/one.txt"}},
    {"RemovedLink",
     [](const auto& b) { fs::remove(b / "Resources/current.txt"); },
     badResource,
     {"file missing: Resources/current.txt"}},
    {"RetargetedLink",
     [](const auto& b) {
       fs::remove(b / "Resources/current.txt");
       fs::create_symlink("two.txt", b / "Resources/current.txt");
     },
     badResource,
     {"file modified: Resources/current.txt"}},
    {"LinkInsteadOfFile",
     [](const auto& b) {
       fs::rename(b / "Resources/one.txt", b.path().parent_path() / "one.txt");
       fs::create_symlink(b.path().parent_path() / "one.txt", b / "Resources/one.txt");
     },
     badResource,
     {"file modified: Resources/one.txt"}},
    {"FileInsteadOfLink",
     [](const auto& b) {
       fs::remove(b / "Resources/current.txt");
       writeFile(b / "Resources/current.txt", "first\n");
     },
     badResource,
     {"file modified: Resources/current.txt"}},
    {"FolderInsteadOfFile",
     [](const auto& b) {
       fs::remove(b / "Resources/two.txt");
       fs::create_directory(b / "Resources/two.txt");
     },
     badResource,
     {"file missing: Resources/two.txt"}},
    {"OtherCaseOfName",
     [](const auto& b) { fs::rename(b / "Resources/two.txt", b / "Resources/Two.txt"); },
     badResource,
     {"file added: Resources/Two.txt", "file missing: Resources/two.txt"}},
    {"ExchangedFiles",
     [](const auto& b) {
       fs::rename(b / "Resources/two.txt", b / "t");
       fs::rename(b / "MacOS/helper", b / "Resources/two.txt");
       fs::rename(b / "t", b / "MacOS/helper");
     },
     badResource,
     {"file modified: MacOS/helper", "file modified: Resources/two.txt"}},
    {"NameWithNewline",
     [](const auto& b) { writeFile(b / "Resources/a\nb", ""); },
     badResource,
     {"file added: Resources/a\nb"}},
    {"NameInInvalidUTF8",
     [](const auto& b) { writeFile(b / "Resources/\xFF\xFE.txt", ""); },
     badResource,
     {"file added: Resources/\xFF\xFE.txt"}},
    {"FIFO",
     [](const auto& b) { mkfifo((b / "Resources/pipe").c_str(), 0600); },
     unsupportedResource,
     {"file added: Resources/pipe"}},
    {"FIFOInsteadOfFile",
     [](const auto& b) {
       fs::remove(b / "Resources/two.txt");
       mkfifo((b / "Resources/two.txt").c_str(), 0600);
     },
     unsupportedResource,
     {"file added: Resources/two.txt"}},
    {"Socket", [](const auto& b) { makeSocket(b / "s"); }, unsupportedResource, {"file added: s"}},
    {"SettingsLink",
     [](const auto& b) { fs::create_symlink("one.txt", b / "Resources/.DS_Store"); },
     folderSettingsLinkRefused,
     {"file added: Resources/.DS_Store"}},
    {"ChangedExecutable", [](const auto& b) { append(b / "MacOS/Example", "x"); }, signatureInvalid, {}},
    {"OtherExecutable",
     [](const auto& b) { writeFile(b / "MacOS/Example", "#!/bin/sh\nrm -rf /\nx\n"); },
     signatureFailed,
     {}},
    {"ShorterExecutable", [](const auto& b) { writeFile(b / "MacOS/Example", "#!/bin/sh\n"); }, signatureFailed, {}},
    {"RemovedExecutable", [](const auto& b) { fs::remove(b / "MacOS/Example"); }, noMainExecutable, {}},
    {"LinkedExecutable",
     [](const auto& b) {
       fs::rename(b / "MacOS/Example", b / "MacOS/Other");
       fs::create_symlink("Other", b / "MacOS/Example");
     },
     regularFileRequired,
     {}},
    {"FIFOAsExecutable",
     [](const auto& b) {
       fs::remove(b / "MacOS/Example");
       mkfifo((b / "MacOS/Example").c_str(), 0600);
     },
     regularFileRequired,
     {}},
    {"TruncatedObjectFile",
     [](const auto& b) { writeFile(b / "MacOS/Example", "\xCF\xFA\xED\xFE\a\1\1\1\3\1\1\1\2\0\0\0"sv); },
     badObjectFormat,
     {}},
    {"ChangedInformation", [](const auto& b) { append(b / "Info.plist", "\n"); }, infoPropertyListFailed, {}},
    {"BrokenInformation", [](const auto& b) { append(b / "Info.plist", "<plist"); }, infoPropertyListFailed, {}},
    {"LinkedInformation",
     [](const auto& b) {
       fs::rename(b / "Info.plist", b / "Resources/Info.plist");
       fs::create_symlink("Resources/Info.plist", b / "Info.plist");
     },
     regularFileRequired,
     {}},
    {"ChangedSeal",
     [](const auto& b) { append(b / "_CodeSignature/CodeResources", "\n"); },
     resourceDirectoryFailed,
     {}},
    {"RemovedSeal", [](const auto& b) { fs::remove(b / "_CodeSignature/CodeResources"); }, resourceDirectoryFailed, {}},
    {"ChangedRequirements",
     [](const auto& b) { append(b / "_CodeSignature/CodeRequirements", "x"); },
     signatureFailed,
     {}},
    {"RemovedRequirements",
     [](const auto& b) { fs::remove(b / "_CodeSignature/CodeRequirements"); },
     signatureFailed,
     {}},
    {"RemovedDirectory", [](const auto& b) { fs::remove(b / "_CodeSignature/CodeDirectory"); }, unsignedCode, {}},
    {"EmptyMessage", [](const auto& b) { writeFile(b / "_CodeSignature/CodeSignature", ""); }, unsignedCode, {}},
    {"MessageWithTail", [](const auto& b) { append(b / "_CodeSignature/CodeSignature", "x"); }, signatureFailed, {}},
    {"RemovedSignature", [](const auto& b) { fs::remove_all(b / "_CodeSignature"); }, unsignedCode, {}},
    {"StrangerBesideSignature",
     [](const auto& b) { writeFile(b / "_CodeSignature/more", "x"); },
     unsealedRootContents,
     {"file added: _CodeSignature/more"}},
    {"UnsealedEntitlements",
     [](const auto& b) { writeFile(b / "_CodeSignature/CodeEntitlements", "x"); },
     signatureFailed,
     {}},
    {"SecondDirectory",
     [](const auto& b) { fs::copy(b / "_CodeSignature/CodeDirectory", b / "_CodeSignature/CodeRequirements-1"); },
     signatureInvalid,
     {}},
    {"LinkedSignaturePart",
     [](const auto& b) {
       fs::rename(b / "_CodeSignature/CodeSignature", b.path().parent_path() / "message");
       fs::create_symlink(b.path().parent_path() / "message", b / "_CodeSignature/CodeSignature");
     },
     signatureFailed,
     {}},
    {"FileBesideContents",
     [](const auto& b) { writeFile(b.path() / "more", "x"); },
     unsealedRootContents,
     {"file added: ../more"}},
    {"FolderBesideContents",
     [](const auto& b) { fs::create_directory(b.path() / "more"); },
     unsealedRootContents,
     {"file added: ../more"}},
};

std::string tamperingName(const ::testing::TestParamInfo<Tampering>& info) {
  return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Changes, CodeSignatureVerifierTamperingTest, ::testing::ValuesIn(kTamperings), tamperingName);

// ---- Valid bundles -------------------------------------------------------------------------------------------------

TEST(CodeSignatureVerifierTest, SignedBundleIsValidAndMeetsItsDesignatedRequirement) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().sign();

  const CodeSignatureVerdict verdict = verify(bundle);

  EXPECT_EQ(verdict.text("x"), "");
  EXPECT_TRUE(verdict.meetsDesignatedRequirement);
  EXPECT_EQ(verdict.exitStatus(), 0);
}

TEST(CodeSignatureVerifierTest, AdHocSignedBundleIsValid) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().signAdHoc();

  EXPECT_EQ(verify(bundle).text("x"), "");
}

TEST(CodeSignatureVerifierTest, BundleWithoutExecutableIsValidByItsInformation) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.bundle", "BNDL");
  bundle.withFile("Resources/a", "x").sign();

  EXPECT_EQ(verify(bundle).text("x"), "");
}

TEST(CodeSignatureVerifierTest, BundleWithTwoHashAlgorithmsIsValidAndBothCount) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().withInformation("LSMinimumSystemVersion", "10.9").sign();
  ASSERT_TRUE(fs::exists(bundle / "_CodeSignature/CodeRequirements-1"));
  ASSERT_EQ(verify(bundle).text("x"), "");

  fs::remove(bundle / "_CodeSignature/CodeRequirements-1");

  EXPECT_EQ(verify(bundle).failure, signatureFailed);
}

TEST(CodeSignatureVerifierTest, OptionalResourceMayBeAbsent) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().sign();

  fs::remove_all(bundle / "Resources/de.lproj");

  EXPECT_EQ(verify(bundle).text("x"), "");
}

TEST(CodeSignatureVerifierTest, WhatTheRulesLeaveOutMayChange) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().sign();

  bundle.withFile("PkgInfo", "APPL????").withFile("Resources/.DS_Store", "x").withFile("CodeResources", "ticket");
  fs::create_directories(bundle / "Resources/empty");
  writeFile(bundle.path() / ".DS_Store", "x");

  EXPECT_EQ(verify(bundle).text("x"), "");
}

TEST(CodeSignatureVerifierTest, TheMainExecutableStandsForItsBundle) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().sign();

  EXPECT_EQ(verifyCode(QuillonURL::fileURL((bundle / "MacOS/Example").string())).text("x"), "");
  EXPECT_EQ(verifyCode(QuillonURL::fileURL((bundle / "MacOS/helper").string())).failure, unsignedCode);
}

TEST(CodeSignatureVerifierTest, ExpiredCertificateIsToleratedWithoutSecureTime) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().sign({.identity = testing::makeSigningIdentity({.isExpired = true}).identity()});

  EXPECT_EQ(verify(bundle).text("x"), "");
}

/// Makes folders in each other, by descriptor because their path would be too long, and a file in the innermost.
void makeDeepFolders(const fs::path& start, const std::string& name, int depth) {
  int folder = open(start.c_str(), O_RDONLY | O_DIRECTORY);
  for (int i = 0; i < depth; ++i) {
    ASSERT_EQ(mkdirat(folder, name.c_str(), 0755), 0);
    const int next = openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY);
    close(folder);
    folder = next;
  }
  close(openat(folder, "file", O_WRONLY | O_CREAT, 0644));
  close(folder);
}

TEST(CodeSignatureVerifierTest, FileBelowAThousandFoldersIsSealed) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().withFile("Resources/x", "x");
  makeDeepFolders(bundle / "Resources", "d", 1000);

  bundle.sign();

  EXPECT_EQ(verify(bundle).text("x"), "");
  fs::remove_all(bundle / "Resources/d");
  EXPECT_EQ(verify(bundle).failure, badResource);
}

TEST(CodeSignatureVerifierTest, FoldersDeeperThanAnyPathAreAClearError) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().withFile("Resources/x", "x").sign();

  makeDeepFolders(bundle / "Resources", std::string(200, 'n'), 25);

  EXPECT_EQ(verify(bundle).failure, notReadable);
}

// ---- Requirements --------------------------------------------------------------------------------------------------

TEST(CodeSignatureVerifierTest, OtherIdentitysSignatureDoesNotMeetTheFirstOnesRequirement) {
  const TemporaryDirectory folder;
  SignedBundleBuilder outer(folder / "Example.app");
  SignedBundleBuilder nested(outer / "PlugIns/Nested.bundle", "BNDL");
  outer.withScript();
  nested.withScript().sign();
  outer.sign();
  ASSERT_EQ(verify(outer).text("x"), "");

  nested.sign({.identity = testing::makeSigningIdentity().identity(), .replacesSignature = true});
  const CodeSignatureVerdict verdict = verify(outer);

  EXPECT_EQ(verdict.failure, badNestedCode);
  EXPECT_THAT(verdict.details, ElementsAre("file modified: " + nested.path().string()));
}

TEST(CodeSignatureVerifierTest, SameIdentityMayReplaceNestedCode) {
  const TemporaryDirectory folder;
  SignedBundleBuilder outer(folder / "Example.app");
  SignedBundleBuilder nested(outer / "PlugIns/Nested.bundle", "BNDL");
  outer.withScript();
  nested.withScript();
  outer.sign();

  nested.withFile("Resources/more", "x").sign();

  EXPECT_EQ(verify(outer).text("x"), "");
}

TEST(CodeSignatureVerifierTest, ChangeInNestedCodeIsReportedWithItsPathOnlyWhenDeep) {
  const TemporaryDirectory folder;
  SignedBundleBuilder outer(folder / "Example.app");
  SignedBundleBuilder nested(outer / "XPCServices/Service.xpc", "XPC!");
  SignedBundleBuilder innermost(nested / "PlugIns/Inner.bundle", "BNDL");
  outer.withScript();
  nested.withScript();
  innermost.withScript().withFile("Resources/r", "x");
  outer.sign();
  ASSERT_EQ(verify(outer).text("x"), "");

  writeFile(innermost / "Resources/r", "y");
  const CodeSignatureVerdict deep = verify(outer);
  const CodeSignatureVerdict shallow = verifyCode(outer.url(), {.isDeep = false});

  EXPECT_EQ(deep.text("P"),
            "P: a sealed resource is missing or invalid\nfile modified: " + (innermost / "Resources/r").string() +
                "\nIn subcomponent: " + innermost.path().string() + "\n");
  EXPECT_EQ(shallow.text("P"), "");
}

TEST(CodeSignatureVerifierTest, UnsignedNestedCodeIsReportedWithItsPath) {
  const TemporaryDirectory folder;
  SignedBundleBuilder outer(folder / "Example.app");
  SignedBundleBuilder nested(outer / "PlugIns/Nested.bundle", "BNDL");
  nested.withScript();
  outer.withScript().sign();

  fs::remove_all(nested / "_CodeSignature");

  EXPECT_EQ(verify(outer).text("P"),
            "P: code object is not signed at all\nIn subcomponent: " + nested.path().string() + "\n");
}

// ---- Strictness ----------------------------------------------------------------------------------------------------

TEST(CodeSignatureVerifierTest, OnlyStrictVerificationRefusesSidebandDataAndLeftovers) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().sign();
  if (setxattr((bundle / "Resources/one.txt").c_str(), "user.com.apple.FinderInfo", "x", 1, 0) != 0) {
    GTEST_SKIP() << "the file system keeps no extended attributes";
  }

  EXPECT_EQ(verify(bundle).failure, sidebandDataRefused);
  EXPECT_EQ(verifyCode(bundle.url(), {.isStrict = false}).text("x"), "");
}

/// Signs again after the seal was edited, as someone could who makes signatures with tools of their own.
void resealAdHoc(const SignedBundleBuilder& bundle, const std::function<void(QuillonPropertyListValue&)>& edit) {
  const fs::path sealFile = bundle / "_CodeSignature/CodeResources";
  QuillonPropertyListValue seal = readPropertyList(readFile(sealFile));
  edit(seal);
  writeFile(sealFile, writeXMLPropertyList(seal));
  const fs::path directoryFile = bundle / "_CodeSignature/CodeDirectory";
  CodeDirectory directory = parseCodeDirectory(readFile(directoryFile));
  directory.specialHashes[CodeSlot::resources] = codeHash(directory.hashType, readFile(sealFile));
  writeFile(directoryFile, buildCodeDirectory(directory));
}

QuillonPropertyListValue::Dictionary& dictionaryIn(QuillonPropertyListValue& value, std::string_view key) {
  auto& outer = *value.getIf<QuillonPropertyListValue::Dictionary>();
  return *outer.find(key)->second.getIf<QuillonPropertyListValue::Dictionary>();
}

struct Resealing {
  const char* name;
  std::function<void(QuillonPropertyListValue&)> edit;
  std::optional<CodeSignatureErrorCode> strict;
  std::optional<CodeSignatureErrorCode> lax;
};

class CodeSignatureVerifierResealingTest : public ::testing::TestWithParam<Resealing> {};

TEST_P(CodeSignatureVerifierResealingTest, HasItsOwnError) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().signAdHoc();

  resealAdHoc(bundle, GetParam().edit);

  EXPECT_EQ(verify(bundle).failure, GetParam().strict) << verify(bundle).text("P");
  EXPECT_EQ(verifyCode(bundle.url(), {.isStrict = false}).failure, GetParam().lax);
}

QuillonPropertyListValue omitRule() {
  return QuillonPropertyListValue(QuillonPropertyListValue::Dictionary{{"omit", QuillonPropertyListValue(true)},
                                                                       {"weight", QuillonPropertyListValue(3000)}});
}

const Resealing kResealings[] = {
    {"Unchanged", [](auto&) {}, std::nullopt, std::nullopt},
    {"OmitsMore", [](auto& s) { dictionaryIn(s, "rules2").emplace("^Else/", omitRule()); }, weakResourceRules,
     std::nullopt},
    {"DoesNotSealEverything", [](auto& s) { dictionaryIn(s, "rules2").erase("^.*"); }, weakResourceRules, std::nullopt},
    {"VersionOneOnly",
     [](auto& s) {
       s.template getIf<QuillonPropertyListValue::Dictionary>()->erase("files2");
       s.template getIf<QuillonPropertyListValue::Dictionary>()->erase("rules2");
     },
     weakResourceEnvelope, badResource},
    {"BadExpression", [](auto& s) { dictionaryIn(s, "rules2").emplace("^(", QuillonPropertyListValue(true)); },
     invalidResourceRules, invalidResourceRules},
    {"ExplosiveExpression",
     [](auto& s) { dictionaryIn(s, "rules2").emplace("((a{1,255}){1,255}){1,255}", QuillonPropertyListValue(true)); },
     invalidResourceRules, invalidResourceRules},
    {"FilesOfWrongType",
     [](auto& s) {
       s.template getIf<QuillonPropertyListValue::Dictionary>()->insert_or_assign("files2",
                                                                                  QuillonPropertyListValue("x"));
     },
     resourcesInvalid, resourcesInvalid},
    {"NoDictionary", [](auto& s) { s = QuillonPropertyListValue("x"); }, resourcesInvalid, resourcesInvalid},
    {"HashOfOtherAlgorithmOnly",
     [](auto& s) {
       auto& file = dictionaryIn(s, "files2").find("Resources/one.txt")->second;
       auto& entry = *file.template getIf<QuillonPropertyListValue::Dictionary>();
       entry.emplace("hash", QuillonPropertyListValue(QuillonPropertyListData{std::vector<std::uint8_t>(20)}));
       entry.erase("hash2");
     },
     badResource, badResource},
    {"RequirementThatDoesNotParse",
     [](auto& s) {
       dictionaryIn(s, "files2")
           .insert_or_assign("Resources/one.txt", QuillonPropertyListValue(QuillonPropertyListValue::Dictionary{
                                                      {"requirement", QuillonPropertyListValue("identifier")}}));
     },
     resourcesInvalid, resourcesInvalid},
    {"LinkSealedToLeadOut",
     [](auto& s) {
       dictionaryIn(s, "files2")
           .emplace("Resources/missing", QuillonPropertyListValue(QuillonPropertyListValue::Dictionary{
                                             {"symlink", QuillonPropertyListValue("/etc/passwd")}}));
     },
     badResource, badResource},
};

std::string resealingName(const ::testing::TestParamInfo<Resealing>& info) {
  return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Seals, CodeSignatureVerifierResealingTest, ::testing::ValuesIn(kResealings), resealingName);

TEST(CodeSignatureVerifierTest, LinkOutOfTheBundleIsRefusedEvenWhenSealed) {
  const TemporaryDirectory folder;
  writeFile(folder / "secret", "x");
  for (const char* target : {"../../../secret", "/etc/passwd", "nowhere", "../../..", "loop"}) {
    SCOPED_TRACE(target);
    SignedBundleBuilder bundle(folder / "Example.app");
    fs::remove_all(bundle / "Resources");
    bundle.withScript().withFile("Resources/x", "x").signAdHoc();
    bundle.withLink("Resources/loop", target);
    resealAdHoc(bundle, [target](QuillonPropertyListValue& seal) {
      dictionaryIn(seal, "files2")
          .emplace("Resources/loop", QuillonPropertyListValue(QuillonPropertyListValue::Dictionary{
                                         {"symlink", QuillonPropertyListValue(target)}}));
    });

    EXPECT_EQ(verify(bundle).failure, invalidLinkDestination);
    EXPECT_EQ(verifyCode(bundle.url(), {.isStrict = false}).text("x"), "");
  }
}

TEST(CodeSignatureVerifierTest, BundleWithoutResourceSlotIsRefused) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().signAdHoc();
  CodeDirectory directory = parseCodeDirectory(readFile(bundle / "_CodeSignature/CodeDirectory"));

  directory.specialHashes.erase(CodeSlot::resources);
  writeFile(bundle / "_CodeSignature/CodeDirectory", buildCodeDirectory(directory));

  EXPECT_EQ(verify(bundle).failure, resourcesNotFound);
  fs::remove(bundle / "_CodeSignature/CodeResources");
  EXPECT_EQ(verify(bundle).failure, resourcesNotFound);
}

TEST(CodeSignatureVerifierTest, AdHocFlagBesideAMessageIsRefused) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().sign();
  const std::string message = readFile(bundle / "_CodeSignature/CodeSignature");
  bundle.signAdHoc();

  writeFile(bundle / "_CodeSignature/CodeSignature", message);

  EXPECT_EQ(verify(bundle).failure, signatureFailed);
}

TEST(CodeSignatureVerifierTest, SignatureOfOtherBundleIsRefused) {
  const TemporaryDirectory folder;
  SignedBundleBuilder first(folder / "First.app");
  SignedBundleBuilder second(folder / "Second.app");
  first.withScript().sign();
  second.withScript().sign();

  fs::copy_file(first / "_CodeSignature/CodeSignature", second / "_CodeSignature/CodeSignature",
                fs::copy_options::overwrite_existing);

  EXPECT_EQ(verify(second).failure, signatureFailed);
}

// ---- What is no bundle ---------------------------------------------------------------------------------------------

TEST(CodeSignatureVerifierTest, OtherLayoutsAndMissingThingsHaveTheirOwnMessages) {
  const TemporaryDirectory folder;
  writeFile(folder / "Flat.app/Info.plist", "x");
  writeFile(folder / "Empty.app/x", "x");
  writeFile(folder / "file", "x");
  fs::create_directories(folder / "F.framework/Versions/A");
  const auto verdictOf = [&folder](std::string_view name) {
    return verifyCode(QuillonURL::fileURL((folder / name).string()));
  };

  EXPECT_EQ(verdictOf("Flat.app").failure, unsignedCode);
  EXPECT_EQ(verdictOf("F.framework").failure, badBundleFormat);
  EXPECT_EQ(verdictOf("Empty.app").failure, badBundleFormat);
  EXPECT_EQ(verdictOf("file").failure, unsignedCode);
  EXPECT_EQ(verdictOf("missing").text("P"), "P: No such file or directory\n");
}

TEST(CodeSignatureVerifierTest, HugeInformationIsAClearError) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().sign();

  fs::resize_file(bundle / "Info.plist", std::uintmax_t{1} << 36);

  EXPECT_EQ(verify(bundle).failure, badPropertyList);
}

TEST(CodeSignatureVerifierTest, ExecutableNameThatLeadsOutIsRefused) {
  const TemporaryDirectory folder;
  for (const char* name : {"../../../bin/sh", "..", "a/b", "."}) {
    SignedBundleBuilder bundle(folder / "Example.app");
    bundle.withInformation("CFBundleExecutable", name);

    EXPECT_EQ(verify(bundle).failure, noMainExecutable) << name;
  }
}

}  // namespace
}  // namespace quillon
