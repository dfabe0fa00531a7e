#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSignatureValidator.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/FakeProcessRunner.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::ApplicationBundleDescription;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::makeApplicationBundle;
using testing::writeFile;
using Code = VeskUpdateInstallerError::Code;

/// Leads other programs somewhere else, if told to.
class PathsForOtherPrograms final : public QuillonPosixFileManager {
 public:
  [[nodiscard]] std::string pathForOtherPrograms(const QuillonURL& item) const override {
    return path.empty() ? item.path() : path.string();
  }

  fs::path path;
};

class VeskAppBundleCodeSignatureValidatorTest : public ::testing::Test {
 protected:
  void make(const ApplicationBundleDescription& description) {
    fs::remove_all(bundle);
    makeApplicationBundle(bundle, description);
  }

  std::optional<Code> validate() {
    const VeskAppBundleCodeSignatureValidator validator(
        files, [this](std::string_view line) { log.emplace_back(line); }, runner, "/usr/bin/codesign",
        {.major = 14, .minor = 0, .patch = 0});
    try {
      validator.validateAppBundle(QuillonURL::fileURL(bundle.string()), host);
      return std::nullopt;
    } catch (const VeskUpdateInstallerError& error) {
      return error.code();
    }
  }

  [[nodiscard]] static std::string line(const std::string& message) {
    return "VeskAppBundleCodeSignatureValidator: " + message;
  }

  [[nodiscard]] std::string notShownLine(const fs::path& shown) const {
    return line("the code signing tool is not shown the bundle shownApp=" + shown.string() +
                " stagedApp=" + bundle.string());
  }

  testing::TemporaryDirectory folder;
  fs::path bundle = folder / "Example.app";
  std::shared_ptr<PathsForOtherPrograms> files = std::make_shared<PathsForOtherPrograms>();
  std::shared_ptr<testing::FakeProcessRunner> runner = std::make_shared<testing::FakeProcessRunner>();
  VeskAppBundleUpdateHostIdentity host{.bundleIdentifier = "org.example.App",
                                       .applicationVersion = "1.9",
                                       .applicationBuild = 100,
                                       .expectedTeamIdentifier = std::nullopt,
                                       .allowsSameBuildReplacement = false};
  std::vector<std::string> log;
};

TEST_F(VeskAppBundleCodeSignatureValidatorTest, ANewerSignedBundleIsAcceptedAfterOneCallOfTheTool) {
  make({.version = "1.0", .build = "101"});

  EXPECT_EQ(validate(), std::nullopt);

  EXPECT_THAT(log, IsEmpty());
  EXPECT_THAT(runner->commands,
              ElementsAre(ElementsAre("/usr/bin/codesign", "--verify", "--strict", "--deep", bundle.string())));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, ABundleWithoutAReadableInfoPlistIsAnInvalidArchiveWithoutALogLine) {
  EXPECT_EQ(validate(), Code::invalidArchive);
  for (const char* text : {"", "not a property list", "<plist version=\"1.0\"><array/></plist>", "<plist><dict>"}) {
    writeFile(bundle / "Contents/Info.plist", text);
    EXPECT_EQ(validate(), Code::invalidArchive) << text;
  }
  fs::remove(bundle / "Contents/Info.plist");
  ASSERT_EQ(mkfifo((bundle / "Contents/Info.plist").c_str(), 0600), 0);
  EXPECT_EQ(validate(), Code::invalidArchive);
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AnInfoPlistLargerThanAnyApplicationShipsIsAnInvalidArchive) {
  writeFile(bundle / "Contents/Info.plist", "");
  fs::resize_file(bundle / "Contents/Info.plist", VeskAppBundleCodeSignatureValidator::kLargestInfoPlist + 1);

  EXPECT_EQ(validate(), Code::invalidArchive);
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AnotherBundleIdentifierIsRejected) {
  make({.identifier = "org.example.Other", .build = "101"});

  EXPECT_EQ(validate(), Code::bundleIdentifierMismatch);

  EXPECT_THAT(log, ElementsAre(line("bundle identifier mismatch expectedBundleID=org.example.App "
                                    "actualBundleID=org.example.Other stagedApp=" +
                                    bundle.string())));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AMissingBundleIdentifierIsShownAsEmpty) {
  make({.identifier = "", .build = "101"});

  EXPECT_EQ(validate(), Code::bundleIdentifierMismatch);

  EXPECT_THAT(log, ElementsAre(line("bundle identifier mismatch expectedBundleID=org.example.App "
                                    "actualBundleID=<empty> stagedApp=" +
                                    bundle.string())));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AnEmptyHostIdentifierMatchesABundleWithoutOne) {
  make({.identifier = "", .build = "101"});
  host.bundleIdentifier = "";

  EXPECT_EQ(validate(), std::nullopt);
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AnOlderBuildIsRejectedWhateverTheVersionSays) {
  make({.version = "9.0", .build = "99"});

  EXPECT_EQ(validate(), Code::nonNewerBundleVersion);

  EXPECT_THAT(log, ElementsAre(line("candidate build is older than host candidateVersion=9.0 candidateBuild=99 "
                                    "hostVersion=1.9 hostBuild=100")));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, ABuildThatIsNoNumberCountsAsZeroAndIsShownAsWritten) {
  host.applicationBuild = 5;
  make({.version = "2.0", .build = "abc"});

  EXPECT_EQ(validate(), Code::nonNewerBundleVersion);

  EXPECT_THAT(log, ElementsAre(line("candidate build is older than host candidateVersion=2.0 candidateBuild=abc "
                                    "hostVersion=1.9 hostBuild=5")));
  log.clear();
  make({.version = "", .build = "1.2"});
  EXPECT_EQ(validate(), Code::nonNewerBundleVersion);
  EXPECT_THAT(log, ElementsAre(line("candidate build is older than host candidateVersion=<empty> candidateBuild=1.2 "
                                    "hostVersion=1.9 hostBuild=5")));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, ANewerBuildIsAcceptedWhateverTheVersionSays) {
  make({.version = "0.1", .build = "101"});

  EXPECT_EQ(validate(), std::nullopt);
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AmongEqualBuildsTheVersionDecides) {
  make({.version = "2.0", .build = "100"});
  EXPECT_EQ(validate(), std::nullopt);

  make({.version = "1.9", .build = "0100"});
  EXPECT_EQ(validate(), Code::nonNewerBundleVersion);
  EXPECT_THAT(log, ElementsAre(line("candidate version is not newer candidateVersion=1.9 candidateBuild=100 "
                                    "hostVersion=1.9 hostBuild=100 allowsSameBuildReplacement=false")));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AnEqualBuildIsAcceptedWhereTheHostAllowsIt) {
  host.allowsSameBuildReplacement = true;
  host.applicationBuild = 0;
  make({.version = "1.0", .build = ""});

  EXPECT_EQ(validate(), std::nullopt);
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, ASystemThatIsTooOldIsRejected) {
  make({.build = "101", .minimumSystemVersion = "14.0.1"});

  EXPECT_EQ(validate(), Code::minimumOSVersionUnsupported);

  EXPECT_THAT(log, ElementsAre(line("minimum macOS version unsupported required=14.0.1 current=14.0.0")));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, ASystemThatIsJustNewEnoughIsAccepted) {
  make({.build = "101", .minimumSystemVersion = "14"});

  EXPECT_EQ(validate(), std::nullopt);
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AMissingExecutableNameIsRejected) {
  make({.build = "101"});
  writeFile(bundle / "Contents/Info.plist",
            "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>org.example.App</string>"
            "<key>CFBundleVersion</key><string>101</string></dict></plist>");

  EXPECT_EQ(validate(), Code::missingExecutable);

  EXPECT_THAT(log, ElementsAre(line("missing CFBundleExecutable stagedApp=" + bundle.string())));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AnExecutableThatIsMissingOrAFolderIsRejected) {
  make({.build = "101"});
  const fs::path executable = bundle / "Contents/MacOS/Example";
  fs::remove(executable);
  EXPECT_EQ(validate(), Code::missingExecutable);
  fs::create_directory(executable);
  EXPECT_EQ(validate(), Code::missingExecutable);

  const std::string expected = line("missing executable executableName=Example expectedPath=" + executable.string());
  EXPECT_THAT(log, ElementsAre(expected, expected));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AnExecutableNameThatLeadsElsewhereOrBreaksALineIsRejected) {
  for (const char* name :
       {"../Resources/version.txt", "sub/Example", "Example\nTeamIdentifier=TEAM1", "Ex\u2028ample", "Ex\x7F"}) {
    make({.build = "101", .executable = name});
    ASSERT_TRUE(fs::exists(bundle / "Contents/MacOS" / name));

    EXPECT_EQ(validate(), Code::missingExecutable) << name;
  }
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AFailedVerificationIsRejectedWithTheToolsWords) {
  make({.build = "101"});
  runner->answer = [](const auto&) {
    return QuillonProcessResult{.status = 1,
                                .output = "X.app: a sealed resource is missing or invalid\nfile added: y\n"};
  };

  EXPECT_EQ(validate(), Code::signatureValidationFailed);

  EXPECT_THAT(log, ElementsAre(line("code signature verification failed status=1 output=X.app: a sealed resource is "
                                    "missing or invalid\\nfile added: y stagedApp=" +
                                    bundle.string())));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AToolThatCannotBeStartedRejects) {
  make({.build = "101"});
  runner->answer = [](const auto&) { return QuillonProcessResult{.status = 1, .output = ""}; };

  EXPECT_EQ(validate(), Code::signatureValidationFailed);

  EXPECT_THAT(log, ElementsAre(line("code signature verification failed status=1 output=<empty> stagedApp=" +
                                    bundle.string())));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, TheToolIsGivenThePathForOtherPrograms) {
  make({.build = "101"});
  fs::create_symlink(".", folder / "link");
  files->path = folder / "link/Example.app";

  EXPECT_EQ(validate(), std::nullopt);

  EXPECT_EQ(runner->commands.at(0).back(), files->path.string());
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AnotherItemAtThePathForOtherProgramsIsRejectedUnseen) {
  make({.build = "101"});
  files->path = folder / "Other.app";
  for (const bool isThere : {false, true}) {
    if (isThere) makeApplicationBundle(files->path, {.build = "101"});
    log.clear();

    EXPECT_EQ(validate(), Code::signatureValidationFailed);

    EXPECT_THAT(log, ElementsAre(notShownLine(files->path)));
    EXPECT_THAT(runner->commands, IsEmpty());
  }
}

TEST_F(VeskAppBundleCodeSignatureValidatorTest, AnItemExchangedWhileTheToolLooksIsRejected) {
  make({.build = "101"});
  const fs::path around = folder / "around";
  fs::create_directory_symlink(folder.path(), around);
  files->path = around / "Example.app";
  runner->answer = [&](const auto&) {
    fs::remove(around);
    makeApplicationBundle(files->path, {.build = "101"});
    return QuillonProcessResult{.status = 0, .output = ""};
  };

  EXPECT_EQ(validate(), Code::signatureValidationFailed);

  EXPECT_THAT(log, ElementsAre(notShownLine(files->path)));
}

class VeskAppBundleCodeSignatureValidatorTeamTest : public VeskAppBundleCodeSignatureValidatorTest {
 protected:
  void SetUp() override {
    host.expectedTeamIdentifier = "TEAM1";
    make({.build = "101"});
    runner->answer = [this](const std::vector<std::string>& command) {
      return command.at(1) == "-dv" ? description : QuillonProcessResult{.status = 0, .output = ""};
    };
  }

  QuillonProcessResult description{.status = 0, .output = "Identifier=x\nTeamIdentifier=TEAM1\nSigned Time=1\n"};
};

TEST_F(VeskAppBundleCodeSignatureValidatorTeamTest, TheExpectedTeamIsAccepted) {
  EXPECT_EQ(validate(), std::nullopt);

  EXPECT_THAT(runner->commands.back(), ElementsAre("/usr/bin/codesign", "-dv", "--verbose=4", bundle.string()));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTeamTest, AnotherTeamIsRejected) {
  description.output = "TeamIdentifier=not set\r\n";

  EXPECT_EQ(validate(), Code::teamIdentifierMismatch);

  EXPECT_THAT(log, ElementsAre(line("team identifier mismatch expectedTeamID=TEAM1 actualTeamID=not set stagedApp=" +
                                    bundle.string())));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTeamTest, AFailedDescriptionIsRejected) {
  description = {.status = 2, .output = "  usage \n"};

  EXPECT_EQ(validate(), Code::signatureValidationFailed);

  EXPECT_THAT(
      log, ElementsAre(line("code signature metadata read failed status=2 output=usage stagedApp=" + bundle.string())));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTeamTest, AnIdentifierThatWritesATeamLineOfItsOwnIsRejected) {
  description.output = "Identifier=x\nTeamIdentifier=TEAM1\nTeamIdentifier=OTHER\n";

  EXPECT_EQ(validate(), Code::signatureValidationFailed);

  EXPECT_THAT(log, ElementsAre(line("code signature metadata did not include TeamIdentifier output=Identifier=x\\n"
                                    "TeamIdentifier=TEAM1\\nTeamIdentifier=OTHER stagedApp=" +
                                    bundle.string())));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTeamTest, ADescriptionWithoutATeamLineIsRejected) {
  description.output = "Identifier=x\n TeamIdentifier=TEAM1\n";

  EXPECT_EQ(validate(), Code::signatureValidationFailed);

  EXPECT_THAT(log, ElementsAre(line("code signature metadata did not include TeamIdentifier output=Identifier=x\\n "
                                    "TeamIdentifier=TEAM1 stagedApp=" +
                                    bundle.string())));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTeamTest, TheDescriptionOfAnItemExchangedMeanwhileIsRejected) {
  const fs::path around = folder / "around";
  fs::create_directory_symlink(folder.path(), around);
  files->path = around / "Example.app";
  runner->answer = [&](const std::vector<std::string>& command) {
    if (command.at(1) != "-dv") return QuillonProcessResult{.status = 0, .output = ""};
    fs::remove(around);
    makeApplicationBundle(files->path, {.build = "101"});
    return description;
  };

  EXPECT_EQ(validate(), Code::signatureValidationFailed);

  EXPECT_THAT(log, ElementsAre(notShownLine(files->path)));
}

TEST_F(VeskAppBundleCodeSignatureValidatorTeamTest, AStopWhileTheToolRunsIsACancellationWithoutALogLine) {
  for (const std::string word : {"--verify", "-dv"}) {
    std::stop_source stop;
    runner->answer = [&](const std::vector<std::string>& command) {
      EXPECT_TRUE(runner->stopTokens.back().stop_possible());
      if (command.at(1) == word) stop.request_stop();
      return QuillonProcessResult{.status = command.at(1) == word ? 137 : 0, .output = ""};
    };
    const VeskAppBundleCodeSignatureValidator validator(
        std::make_shared<QuillonPosixFileManager>(), [this](std::string_view line) { log.emplace_back(line); }, runner,
        "/usr/bin/codesign", {.major = 14, .minor = 0, .patch = 0});

    EXPECT_THROW(validator.validateAppBundle(QuillonURL::fileURL(bundle.string()), host, stop.get_token()),
                 QuillonCancellationError)
        << word;
  }
  EXPECT_THAT(log, IsEmpty());
}

}  // namespace
}  // namespace quillon
