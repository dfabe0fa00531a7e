// The soak where a service manager runs: whole updates in a row with faults at random, in a session of an ordinary user
// of a machine of its own. tools/soak --machine runs more of them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Scenarios/MachineScenario.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using testing::MachineScenario;
using ::testing::Not;
using testing::TestMachine;

/// The value of a variable of this process, else `otherwise`.
std::string setting(const char* name, const std::string& otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : value;
}

class SoakScenario : public MachineScenario {
 protected:
  static void SetUpTestSuite() {
    stripped_ = std::make_unique<testing::TemporaryDirectory>();
    fs::permissions(stripped_->path(), fs::perms(0755));
    strip(QUILLON_BINARY_FOLDER, *stripped_ / "bin");
    strip(QUILLON_EXAMPLE_FOLDER, *stripped_ / "examples");
    // Where the soak, as a program of the build, finds what it works with.
    boot({{*stripped_ / "bin", QUILLON_BINARY_FOLDER},
          {*stripped_ / "examples", QUILLON_EXAMPLE_FOLDER},
          {QUILLON_SOURCE_FOLDER "/Examples", QUILLON_SOURCE_FOLDER "/Examples"},
          {QUILLON_SOURCE_FOLDER "/Resources", QUILLON_SOURCE_FOLDER "/Resources"}});
    if (!isBooted()) return;
    // There are no binutils, and nothing is left to be stripped: "strip -o STRIPPED PROGRAM" only has to copy.
    const fs::path strip = machine().root() / "usr/bin/strip";
    testing::writeFile(strip, "#!/bin/sh\nexec cp \"$3\" \"$2\"\n");
    fs::permissions(strip, fs::perms(0755));
    const std::string anchors = QUILLON_SYSCONFDIR "/quillon/anchors.d";
    ASSERT_EQ(machine().run({"install", "--directory", "--owner=alice", anchors}).output, "");
  }
  static void TearDownTestSuite() {
    MachineScenario::TearDownTestSuite();
    stripped_.reset();
  }

 private:
  static void strip(const fs::path& programs, const fs::path& destination) {
    fs::create_directories(destination);
    for (const auto& program : fs::directory_iterator(programs)) {
      if (!program.is_regular_file()) continue;
      // What is no program stays out.
      (void)QuillonPosixProcessRunner().run("/usr/bin/strip",
                                            {"-o", destination / program.path().filename(), program.path().string()});
    }
  }

  inline static std::unique_ptr<testing::TemporaryDirectory> stripped_;
};

TEST_F(SoakScenario, UpdatesThroughTheUsersManagerLoseNothingAndLeaveNoUnit) {
  const TestMachine::Session session = {.limit = std::chrono::minutes(30)};

  // These numbers kill an installer and a launcher service.
  const auto result = machine().runInSession(
      session, {std::string(programsFolder) + "/UpdateSoak", "--updates", setting("QUILLON_SOAK_UPDATES", "5"),
                "--seed", setting("QUILLON_SOAK_SEED", "1505")});

  std::cout << result.output;
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, AllOf(HasSubstr("\n| installer killed | "), HasSubstr("\n| launcher service killed | ")));
  EXPECT_THAT(result.output, AllOf(HasSubstr("\n| **all** | "), Not(HasSubstr("no manager"))));
  EXPECT_THAT(machine().run({"journalctl", "--no-pager", "--output=cat"}).output,
              HasSubstr("Started org.example.Sample.quillon-updater.service"));
}

}  // namespace
}  // namespace quillon
