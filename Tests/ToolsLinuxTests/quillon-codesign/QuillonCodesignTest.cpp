// The command as other programs run it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "CodeSignature/CMSSignature.h"
#include "Support/MachOBuilder.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::SignedBundleBuilder;
using ::testing::StartsWith;
using testing::TemporaryDirectory;

struct Outcome {
  int status = -1;
  std::string output;
  std::string errors;
};

class QuillonCodesignTest : public ::testing::Test {
 protected:
  /// Runs the command with arguments that the shell splits.
  [[nodiscard]] Outcome run(const std::string& arguments, const std::string& environment = {}) const {
    const std::string command = environment + " " + QUILLON_BINARY_FOLDER + "/quillon-codesign " + arguments + " > '" +
                                (folder_ / "out").string() + "' 2> '" + (folder_ / "err").string() + "'";
    const int status = std::system(command.c_str());
    return {.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            .output = testing::readFile(folder_ / "out"),
            .errors = testing::readFile(folder_ / "err")};
  }

  [[nodiscard]] std::string identityOptions(
      const testing::MadeSigningIdentity& identity = testing::sharedSigningIdentity()) const {
    testing::writeFile(folder_ / "key", identity.key);
    testing::writeFile(folder_ / "chain", identity.certificates);
    return "--key " + (folder_ / "key").string() + " --certificate " + (folder_ / "chain").string() + " ";
  }

  TemporaryDirectory folder_;
};

TEST_F(QuillonCodesignTest, ALimitOnTheSizeOfFilesIsNotTheEndOfTheProcess) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the runtime of ThreadSanitizer itself writes a file before main()";
#endif
  const std::string command = std::string("ulimit -f 0; ") + QUILLON_BINARY_FOLDER + "/quillon-codesign --help > '" +
                              (folder_ / "out").string() + "'";

  const int status = std::system(command.c_str());

  EXPECT_TRUE(WIFEXITED(status)) << WTERMSIG(status);
  EXPECT_NE(WEXITSTATUS(status), 128 + SIGXFSZ);
}

TEST_F(QuillonCodesignTest, SignedBundleVerifiesSilently) {
  SignedBundleBuilder bundle(folder_ / "Example.app");
  const std::string path = bundle.withUsualContents().path().string();

  const Outcome signing = run("--sign " + identityOptions() + path);
  const Outcome verification = run("--verify --strict --deep " + path);

  EXPECT_EQ(signing.status, 0) << signing.errors;
  EXPECT_EQ(signing.output + signing.errors, "");
  EXPECT_EQ(verification.status, 0);
  EXPECT_EQ(verification.output + verification.errors, "");
  EXPECT_EQ(run("--verify -v " + path).errors,
            path + ": valid on disk\n" + path + ": satisfies its Designated Requirement\n");
}

TEST_F(QuillonCodesignTest, EqualBundlesHaveEqualSignaturesWithAnRSAKey) {
  SignedBundleBuilder first(folder_ / "1/Example.app");
  SignedBundleBuilder second(folder_ / "2/Example.app");
  const std::string sign = "--sign --force " + identityOptions(testing::sharedRSASigningIdentity()) +
                           first.withUsualContents().path().string() + " " + second.withUsualContents().path().string();
  const auto signatureOf = [](const SignedBundleBuilder& bundle) {
    return testing::readFile(bundle / "_CodeSignature/CodeSignature");
  };

  ASSERT_EQ(run(sign).status, 0);
  EXPECT_EQ(signatureOf(first), signatureOf(second));
  EXPECT_THAT(run("-dv " + first.path().string()).errors, Not(HasSubstr("\nSigned Time=")));

  ASSERT_EQ(run(sign, "SOURCE_DATE_EPOCH=1700000000").status, 0);
  EXPECT_EQ(signatureOf(first), signatureOf(second));
  EXPECT_THAT(run("-dv " + first.path().string(), "TZ=UTC").errors,
              HasSubstr("\nSigned Time=Nov 14, 2023 at 10:13:20 PM\n"));
}

TEST_F(QuillonCodesignTest, TimeOfReproducibleBuildsMustBeANumber) {
  SignedBundleBuilder bundle(folder_ / "Example.app");
  const std::string path = bundle.withScript().path().string();

  for (const char* value : {"''", "x", "1.5", "-1", "12x", "99999999999999999999", "9999999999"}) {
    const Outcome outcome = run("--sign " + identityOptions() + path, std::string("SOURCE_DATE_EPOCH=") + value);

    EXPECT_EQ(outcome.status, 1) << value;
    EXPECT_THAT(outcome.errors, HasSubstr("SOURCE_DATE_EPOCH")) << value;
  }
}

TEST_F(QuillonCodesignTest, AddedFileIsReportedOnStandardError) {
  SignedBundleBuilder bundle(folder_ / "Example.app");
  const std::string path = bundle.withUsualContents().signAdHoc().path().string();
  bundle.withFile("Resources/added", "x");

  const Outcome outcome = run("--verify --strict --deep " + path);

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(outcome.errors, path + ": a sealed resource is missing or invalid\nfile added: " +
                                (bundle / "Resources/added").string() + "\n");
}

TEST_F(QuillonCodesignTest, UnsignedAndMissingCodeHaveTheirMessages) {
  SignedBundleBuilder bundle(folder_ / "Example.app");
  const std::string path = bundle.withScript().path().string();
  for (const char* operation : {"--verify --strict --deep ", "-dv --verbose=4 "}) {
    EXPECT_EQ(run(operation + path).errors, path + ": code object is not signed at all\n");
    EXPECT_EQ(run(operation + path).status, 1);
    EXPECT_EQ(run(operation + path + "x").errors, path + "x: No such file or directory\n");
    EXPECT_EQ(run(operation + path + "x").status, 1);
  }
}

TEST_F(QuillonCodesignTest, DisplayIsWrittenToStandardError) {
  SignedBundleBuilder bundle(folder_ / "Example.app");
  const std::string path = bundle.withUsualContents().sign().path().string();

  const Outcome outcome = run("-dv --verbose=4 " + path);

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, "");
  EXPECT_THAT(outcome.errors, StartsWith("Executable=" + path + "/Contents/MacOS/Example\n"));
  EXPECT_THAT(outcome.errors, HasSubstr("\nTeamIdentifier=not set\n"));
}

TEST_F(QuillonCodesignTest, TeamIsShownForAnInstalledAnchor) {
  const fs::path settings = fs::path(QUILLON_BINARY_FOLDER).parent_path() / "etc/quillon";
  const fs::path anchor = settings / "anchors.d" / ("test-" + std::to_string(getpid()) + ".pem");
  testing::writeFile(anchor, testing::sharedSigningIdentity().root);
  chmod(settings.c_str(), 0755);
  chmod(anchor.parent_path().c_str(), 0755);
  chmod(anchor.c_str(), 0644);
  SignedBundleBuilder bundle(folder_ / "Example.app");
  bundle.withUsualContents().sign();

  const Outcome outcome = run("-dv --verbose=4 " + bundle.path().string());
  fs::remove(anchor);

  EXPECT_THAT(outcome.errors, HasSubstr("\nTeamIdentifier=TEAM123456\n"));
}

TEST_F(QuillonCodesignTest, SignedCodeIsSignedAgainOnlyWithForce) {
  SignedBundleBuilder bundle(folder_ / "Example.app");
  const std::string path = bundle.withScript().path().string();
  ASSERT_EQ(run("--sign - " + path).status, 0);

  const Outcome refused = run("--sign - " + path);
  const Outcome forced = run("--sign - --force --identifier other " + path);

  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.errors, path + ": is already signed\n");
  EXPECT_EQ(forced.status, 0);
  EXPECT_THAT(run("-d " + path).errors, HasSubstr("\nIdentifier=other\n"));
}

TEST_F(QuillonCodesignTest, ObjectFilesAreSignedWithTheirOptions) {
  const std::filesystem::path file = folder_ / "tool";
  const std::string path = file.string();
  const std::string entitlements = (folder_ / "rights.plist").string();
  testing::writeFile(file, testing::MachOBuilder().build());
  testing::writeFile(entitlements, "<plist version=\"1.0\"><dict><key>get-task-allow</key><true/></dict></plist>");

  const Outcome signing = run("-v --sign " + identityOptions() + "-i com.example.tool -o runtime --timestamp=none " +
                              "--entitlements " + entitlements + " " + path);

  EXPECT_EQ(signing.errors, path + ": signed Mach-O thin (arm64) [com.example.tool]\n");
  EXPECT_EQ(signing.status, 0);
  EXPECT_EQ(run("--verify --strict --deep " + path).errors, "");
  const std::string description = run("-dv --verbose=4 " + path).errors;
  EXPECT_THAT(description, HasSubstr("flags=0x10000(runtime)"));
  EXPECT_THAT(description, HasSubstr("\nExecutable Segment flags=0x11\n"));
  EXPECT_THAT(description, HasSubstr("\nRuntime Version=14.2.0\n"));
}

TEST_F(QuillonCodesignTest, EntitlementsThatCannotBeReadAreAFailure) {
  const std::filesystem::path file = folder_ / "tool";
  testing::writeFile(file, testing::MachOBuilder().build());
  testing::writeFile(folder_ / "rights.plist", "<plist version=\"1.0\"><array/></plist>");

  const Outcome outcome = run("--sign - --entitlements " + (folder_ / "rights.plist").string() + " " + file.string());

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, file.string() + ": The entitlements are not a dictionary\n");
  EXPECT_TRUE(testing::readFile(file) == testing::MachOBuilder().build());
}

TEST_F(QuillonCodesignTest, ValidCodeThatMissesItsOwnRequirementIsStatusThree) {
  SignedBundleBuilder bundle(folder_ / "Example.app");
  bundle.withScript().sign();
  // The requirement names the first identity; another one signs it.
  const std::string requirements = testing::readFile(bundle / "_CodeSignature/CodeRequirements");
  const SigningIdentity other = testing::makeSigningIdentity().identity();
  bundle.sign({.identity = other, .replacesSignature = true});
  CodeDirectory directory = parseCodeDirectory(testing::readFile(bundle / "_CodeSignature/CodeDirectory"));
  directory.specialHashes[CodeSlot::requirements] = codeHash(directory.hashType, requirements);
  directory = parseCodeDirectory(buildCodeDirectory(directory));
  testing::writeFile(bundle / "_CodeSignature/CodeRequirements", requirements);
  testing::writeFile(bundle / "_CodeSignature/CodeDirectory", directory.blob);
  testing::writeFile(bundle / "_CodeSignature/CodeSignature", makeCMSSignature({directory}, other));

  const Outcome outcome = run("--verify --strict --deep " + bundle.path().string());

  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.errors, bundle.path().string() + ": does not satisfy its designated Requirement\n");
}

TEST_F(QuillonCodesignTest, WrongArgumentsAreStatusTwoWithTheUsage) {
  for (const char* arguments : {"",
                                "x",
                                "--verify",
                                "--sign x",
                                "--unknown x",
                                "--verify --sign - x",
                                "--sign --key k x",
                                "-z x",
                                "--verify --force x",
                                "--verbose=x -d x",
                                "--sign - --key k --certificate c x",
                                "--key",
                                "--strict=x --verify x",
                                "--verify=1 x",
                                "--sign - --options hard x",
                                "--sign - --timestamp=http x",
                                "--sign - -o",
                                "--sign - --entitlements '' x",
                                "--sign - --identifier= x",
                                "--sign - --strict x",
                                "--verify -o runtime x",
                                "--verify --entitlements e x",
                                "-d --timestamp none x"}) {
    const Outcome outcome = run(arguments);

    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(outcome.output, "") << arguments;
    EXPECT_THAT(outcome.errors, HasSubstr("\nUsage: quillon-codesign ")) << arguments;
  }
}

TEST_F(QuillonCodesignTest, HelpAndVersionAreWrittenToStandardOutput) {
  EXPECT_EQ(run("--help").status, 0);
  EXPECT_THAT(run("--help").output, StartsWith("Usage: quillon-codesign "));
  EXPECT_THAT(run("--version").output, StartsWith("quillon-codesign "));
  EXPECT_EQ(run("--version").errors, "");
}

}  // namespace
}  // namespace quillon
