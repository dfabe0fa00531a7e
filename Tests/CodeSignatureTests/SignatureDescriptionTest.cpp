#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>

#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/MachOSigner.h"
#include "CodeSignature/SignatureDescription.h"
#include "QuillonCore/Text/Newlines.h"
#include "Support/MachOBuilder.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"
#include "Support/TimestampAuthority.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using testing::SignedBundleBuilder;
using testing::TemporaryDirectory;

TrustAnchors sharedAnchors() {
  return {.certificates = {testing::sharedSigningIdentity().identity().certificateChain().back()}, .refusals = {}};
}

TEST(SignatureDescriptionTest, SignedBundleIsDescribedLineByLine) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  SigningOptions options = testing::sharedSigningOptions();
  options.signingTime = std::chrono::sys_seconds(std::chrono::seconds(1700000000));
  bundle.withUsualContents().sign(options);
  const CodeDirectory directory = parseCodeDirectory(testing::readFile(bundle / "_CodeSignature/CodeDirectory"));
  const std::string hash = hexadecimal(directory.identifyingHash());
  const std::string full = hexadecimal(directory.fullHash());
  const std::string messageSize = std::to_string(testing::readFile(bundle / "_CodeSignature/CodeSignature").size());
  const std::string requirementsSize =
      std::to_string(testing::readFile(bundle / "_CodeSignature/CodeRequirements").size());

  const std::string text = describeSignature(bundle.url(), sharedAnchors());

  const std::size_t time = text.find("Signed Time=") + std::string_view("Signed Time=").size();
  const std::size_t timeEnd = text.find('\n', time);
  EXPECT_THAT(text.substr(time, timeEnd - time),
              MatchesRegex("[A-Z][a-z][a-z] [0-9]+, [0-9]+ at [0-9]+:[0-9][0-9]:[0-9][0-9] [AP]M"));
  const std::string untimed = text.substr(0, time) + "T" + text.substr(timeEnd);
  EXPECT_EQ(untimed, "Executable=" + (bundle / "MacOS/Example").string() +
                         "\nIdentifier=com.example.example\nFormat=app bundle with generic\n"
                         "CodeDirectory v=20200 size=" +
                         std::to_string(directory.blob.size()) +
                         " flags=0x0(none) hashes=1+3 location=embedded\nHash type=sha256 size=32\n"
                         "CandidateCDHash sha256=" +
                         hash + "\nCandidateCDHashFull sha256=" + full + "\nHash choices=sha256\nCMSDigest=" + full +
                         "\nCMSDigestType=2\nPage size=none\nCDHash=" + hash + "\nSignature size=" + messageSize +
                         "\nAuthority=Developer: Example (TEAM123456)\nAuthority=Example Organization Root\n"
                         "Signed Time=T\nInfo.plist entries=3\nTeamIdentifier=TEAM123456\n"
                         "Sealed Resources version=2 rules=13 files=5\nInternal requirements count=1 size=" +
                         requirementsSize + "\n");
}

TEST(SignatureDescriptionTest, SecureTimeIsPrintedInsteadOfTheSignersOwn) {
  const auto time = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) - std::chrono::hours(30);
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  SigningOptions options = testing::sharedSigningOptions();
  options.signingTime = time;
  const std::string unstamped = describeSignature(bundle.withScript().sign(options).url(), {});
  const std::size_t begin = unstamped.find("Signed Time=") + std::string_view("Signed Time=").size();
  const std::string timeText = unstamped.substr(begin, unstamped.find('\n', begin) - begin);
  options.signingTime = time - std::chrono::hours(24);
  bundle.sign(options);
  const auto messageFile = bundle / "_CodeSignature/CodeSignature";
  testing::writeFile(messageFile, testing::timestampedMessage(testing::readFile(messageFile),
                                                              testing::TimestampAuthority::shared(), {.time = time}));

  const std::string text = describeSignature(bundle.url(), {});

  EXPECT_THAT(text, HasSubstr("\nTimestamp=" + timeText + "\n"));
  EXPECT_THAT(text, Not(HasSubstr("Signed Time=")));
}

TEST(SignatureDescriptionTest, TeamIsPrintedOnlyWhenAKnownAnchorVouchesForIt) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().sign();
  EXPECT_THAT(describeSignature(bundle.url(), {}), HasSubstr("\nTeamIdentifier=not set\n"));

  // Someone else's certificate says the same team.
  bundle.sign({.identity = testing::makeSigningIdentity().identity(), .replacesSignature = true});
  EXPECT_THAT(describeSignature(bundle.url(), sharedAnchors()), HasSubstr("\nTeamIdentifier=not set\n"));
}

TEST(SignatureDescriptionTest, TeamOfABrokenMessageIsNotPrinted) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().sign();
  CodeDirectory directory = parseCodeDirectory(testing::readFile(bundle / "_CodeSignature/CodeDirectory"));
  directory.identifier = "com.example.forged";
  testing::writeFile(bundle / "_CodeSignature/CodeDirectory", buildCodeDirectory(directory));

  const std::string text = describeSignature(bundle.url(), sharedAnchors());

  EXPECT_THAT(text, HasSubstr("\nAuthority=(unavailable)\n"));
  EXPECT_THAT(text, HasSubstr("\nTeamIdentifier=not set\n"));
}

TEST(SignatureDescriptionTest, AdHocCodeMayNameNoTeam) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().signAdHoc();
  CodeDirectory directory = parseCodeDirectory(testing::readFile(bundle / "_CodeSignature/CodeDirectory"));
  directory.team = "TEAM123456";
  testing::writeFile(bundle / "_CodeSignature/CodeDirectory", buildCodeDirectory(directory));

  const std::string text = describeSignature(bundle.url(), sharedAnchors());

  EXPECT_THAT(text, HasSubstr("\nSignature=adhoc\n"));
  EXPECT_THAT(text, HasSubstr("flags=0x2(adhoc)"));
  EXPECT_THAT(text, HasSubstr("\nTeamIdentifier=not set\n"));
  EXPECT_THAT(text, HasSubstr("\nInternal requirements count=0 size=12\n"));
}

std::string signedImage(const testing::MachOArchitecture& architecture, const SigningIdentity& identity) {
  const TemporaryDirectory folder;
  testing::writeFile(folder / "program", testing::MachOBuilder(architecture).build());
  (void)signMachOFile(openFolder(AT_FDCWD, folder.path().string()), "program",
                      {.identifier = "program", .identity = &identity});
  return testing::readFile(folder / "program");
}

TEST(SignatureDescriptionTest, TeamOfAUniversalFileIsThatOfEveryArchitecture) {
  const TemporaryDirectory folder;
  const QuillonURL program = QuillonURL::fileURL((folder / "program").string());
  const SigningIdentity known = testing::sharedSigningIdentity().identity();
  const SigningIdentity stranger = testing::makeSigningIdentity().identity();  // who claims the same team
  const std::string intel = signedImage(testing::kX86_64, known);
  const std::string arm = signedImage(testing::kARM64, known);
  testing::writeFile(folder / "program", testing::buildUniversalFile({intel, arm}));
  EXPECT_THAT(describeSignature(program, sharedAnchors()), HasSubstr("\nTeamIdentifier=TEAM123456\n"));

  for (const auto& images : {std::vector{intel, signedImage(testing::kARM64, stranger)},
                             std::vector{signedImage(testing::kX86_64, stranger), arm},
                             std::vector{intel, testing::MachOBuilder(testing::kARM64).build()}}) {
    testing::writeFile(folder / "program", testing::buildUniversalFile(images));
    EXPECT_THAT(describeSignature(program, sharedAnchors()), HasSubstr("\nTeamIdentifier=not set\n"));
  }
}

TEST(SignatureDescriptionTest, IdentifierCannotForgeALine) {
  for (const std::string_view newline : {"\n", "\v", "\f", "\r", "\r\n", "\u0085", "\u2028", "\u2029"}) {
    const TemporaryDirectory folder;
    SignedBundleBuilder bundle(folder / "Example.app");
    bundle.withScript().sign({.identifier = "x" + std::string(newline) + "TeamIdentifier=FORGED"});

    const std::string text = describeSignature(bundle.url(), {});

    EXPECT_THAT(text, HasSubstr("\nIdentifier=x?TeamIdentifier=FORGED\n"));
    for (const std::string_view line : lines(text)) EXPECT_FALSE(line.starts_with("TeamIdentifier=FORGED")) << text;
  }
}

TEST(SignatureDescriptionTest, ChangedInformationIsNotBoundAndTwoAlgorithmsAreListed) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.bundle", "BNDL");
  bundle.withInformation("LSMinimumSystemVersion", "10.11.3").sign();
  EXPECT_THAT(describeSignature(bundle.url(), {}), HasSubstr("\nHash choices=sha1,sha256\n"));
  EXPECT_THAT(describeSignature(bundle.url(), {}), HasSubstr("\nFormat=bundle\n"));

  bundle.withInformation("x", "y");

  EXPECT_THAT(describeSignature(bundle.url(), {}), HasSubstr("\nInfo.plist=not bound\n"));
}

TEST(SignatureDescriptionTest, UnsignedBundleHasNoDescription) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");

  EXPECT_THROW((void)describeSignature(bundle.withScript().url(), {}), CodeSignatureError);
}

}  // namespace
}  // namespace quillon
