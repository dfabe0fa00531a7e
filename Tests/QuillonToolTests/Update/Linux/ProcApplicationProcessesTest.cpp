#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "QuillonTool/Update/Linux/ProcApplicationProcesses.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr uid_t kOwner = 4241;
constexpr uid_t kStranger = 4242;

/// A folder that looks like proc(5).
class ProcApplicationProcessesTest : public ::testing::Test {
 protected:
  void addProcess(const std::string& identifier, const std::string& program, const std::string& commandLine = {},
                  uid_t realUser = 0, uid_t effectiveUser = 0) const {
    fs::create_directories(folder_ / identifier);
    fs::create_symlink(program, folder_ / identifier / "exe");
    testing::writeFile(folder_ / identifier / "cmdline", commandLine);
    testing::writeFile(folder_ / identifier / "status",
                       "Name:\tany Uid:\t0\nPid:\t" + identifier + "\nUid:\t" + std::to_string(realUser) + "\t" +
                           std::to_string(effectiveUser) + "\t0\t0\nGid:\t0\t0\t0\t0\n");
  }
  void addInstaller(const std::string& identifier, const fs::path& bundle, uid_t realUser,
                    uid_t effectiveUser = 0) const {
    using namespace std::string_literals;
    addProcess(identifier, "/opt/QuillonUpdateInstaller",
               "QuillonUpdateInstaller\0--installed-app\0"s + bundle.string() + "\0"s, realUser, effectiveUser);
  }
  [[nodiscard]] std::vector<ApplicationProcess> processes(const fs::path& bundle = "/opt/Example.app") const {
    return ProcApplicationProcesses(folder_.path().string()).processesOf(QuillonURL::fileURL(bundle.string()));
  }
  [[nodiscard]] std::vector<std::int32_t> identifiersOf(const fs::path& bundle) const {
    std::vector<std::int32_t> identifiers;
    for (const ApplicationProcess& process : processes(bundle)) identifiers.push_back(process.identifier);
    return identifiers;
  }

  const testing::TemporaryDirectory folder_;
};

TEST_F(ProcApplicationProcessesTest, ProgramsInTheBundleAreFoundByTheirNumber) {
  addProcess("30", "/opt/Example.app/Contents/MacOS/Example");
  addProcess("7", "/opt/Example.app/Contents/Helpers/Helper");
  addProcess("8", "/opt/Example.application/Contents/MacOS/Example");
  addProcess("9", "/usr/bin/cat");
  addProcess("self", "/opt/Example.app/Contents/MacOS/Example");
  testing::writeFile(folder_ / "uptime", "1");

  EXPECT_THAT(processes(), ElementsAre(ApplicationProcess{.identifier = 7, .name = "Helper", .isInstaller = false},
                                       ApplicationProcess{.identifier = 30, .name = "Example", .isInstaller = false}));
}

TEST_F(ProcApplicationProcessesTest, AProgramWhoseFileIsGoneStillRuns) {
  addProcess("30", "/opt/Example.app/Contents/MacOS/Example (deleted)");

  EXPECT_THAT(processes(), ElementsAre(ApplicationProcess{.identifier = 30, .name = "Example", .isInstaller = false}));
}

TEST_F(ProcApplicationProcessesTest, TheProcessThatAsksIsNotWaitedFor) {
  addProcess(std::to_string(getpid()), "/opt/Example.app/Contents/MacOS/quillon");

  EXPECT_THAT(processes(), IsEmpty());
}

TEST_F(ProcApplicationProcessesTest, AnInstallerIsKnownByItsCommandLineWhereverItsProgramIs) {
  using namespace std::string_literals;
  const std::string words = "/opt/Example.app/Contents/MacOS/QuillonUpdateInstaller\0--installed-app\0"s;
  addProcess("5", "/opt/Example.app.vesk-update-backup-X/Contents/MacOS/QuillonUpdateInstaller",
             words + "/opt/Example.app\0"s);
  addProcess("6", "/opt/Other.app/Contents/MacOS/QuillonUpdateInstaller", words + "/opt/Other.app\0"s);
  addProcess("7", "/usr/bin/grep", "grep\0--installed-app\0/opt/Example.app\0"s);
  addProcess("8", "/usr/bin/QuillonUpdateInstaller", "QuillonUpdateInstaller\0--installed-app\0"s);

  EXPECT_THAT(processes(),
              ElementsAre(ApplicationProcess{.identifier = 5, .name = "QuillonUpdateInstaller", .isInstaller = true}));
}

TEST_F(ProcApplicationProcessesTest, InstallersOfRootAndOfThisUserCount) {
  addInstaller("5", "/opt/Example.app", 0);
  addInstaller("6", "/opt/Example.app", geteuid());
  addInstaller("7", "/opt/Example.app", kStranger, kStranger);

  EXPECT_THAT(identifiersOf("/opt/Example.app"), ElementsAre(5, 6));
}

TEST_F(ProcApplicationProcessesTest, AnInstallerOfTheBundlesOwnerCounts) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  const fs::path bundle = folder_ / "Applications/Example.app";
  fs::create_directories(bundle);
  ASSERT_EQ(chown(bundle.c_str(), kOwner, kOwner), 0);
  addInstaller("5", bundle, kOwner, kOwner);
  addInstaller("6", bundle, kStranger, kStranger);

  EXPECT_THAT(identifiersOf(bundle), ElementsAre(5));
}

TEST_F(ProcApplicationProcessesTest, WhileTheBundleIsMovedAsideAnInstallerOfTheFoldersOwnerCounts) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  const fs::path applications = folder_ / "Applications";
  fs::create_directories(applications);
  ASSERT_EQ(chown(applications.c_str(), kOwner, kOwner), 0);
  addInstaller("5", applications / "Example.app", kOwner, kOwner);
  addInstaller("6", applications / "Example.app", kStranger, kStranger);

  EXPECT_THAT(identifiersOf(applications / "Example.app"), ElementsAre(5));
}

TEST_F(ProcApplicationProcessesTest, ASetUserIDProgramIsNoInstallerWhateverItIsCalled) {
  addInstaller("5", "/opt/Example.app", kStranger, 0);

  EXPECT_THAT(processes(), IsEmpty());
}

TEST_F(ProcApplicationProcessesTest, AnInstallerWhoseUserCannotBeReadDoesNotCount) {
  addInstaller("5", "/opt/Example.app", 0);
  fs::remove(folder_ / "5/status");

  EXPECT_THAT(processes(), IsEmpty());
}

TEST_F(ProcApplicationProcessesTest, AProcessWhoseWordsCannotBeReadIsKnownByItsProgram) {
  // As those of a process that ends at that moment, whose file can be opened still.
  fs::create_directories(folder_ / "31/cmdline");
  fs::create_symlink("/opt/Example.app/Contents/MacOS/Example", folder_ / "31/exe");

  EXPECT_THAT(processes(), ElementsAre(ApplicationProcess{.identifier = 31, .name = "Example", .isInstaller = false}));
}

TEST_F(ProcApplicationProcessesTest, WithoutSuchAFolderThereAreNone) {
  EXPECT_THAT(ProcApplicationProcesses("/nowhere").processesOf(QuillonURL::fileURL("/")), IsEmpty());
}

TEST_F(ProcApplicationProcessesTest, ARealInstallerOfThisUserIsFound) {
  std::string name = "QuillonUpdateInstaller";
  std::string script = "echo; read line; :";
  std::string option = "--installed-app";
  std::string bundle = folder_.path().string();
  std::string command = "-c";
  const std::array<char*, 6> arguments = {name.data(),   command.data(), script.data(),
                                          option.data(), bundle.data(),  nullptr};
  std::array<int, 2> input{};
  std::array<int, 2> output{};
  ASSERT_EQ(pipe2(input.data(), O_CLOEXEC), 0);
  ASSERT_EQ(pipe2(output.data(), O_CLOEXEC), 0);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  pid_t process = 0;
  ASSERT_EQ(posix_spawn(&process, "/bin/sh", &actions, nullptr, arguments.data(), environ), 0);
  posix_spawn_file_actions_destroy(&actions);
  char said = 0;
  ASSERT_EQ(read(output[0], &said, 1), 1) << "a process has no words before its program runs";

  const auto found = makeSystemApplicationProcesses()->processesOf(QuillonURL::fileURL(bundle));

  EXPECT_THAT(found, ElementsAre(ApplicationProcess{
                         .identifier = process, .name = "QuillonUpdateInstaller", .isInstaller = true}));
  for (const int end : {input[0], input[1], output[0], output[1]}) close(end);
  waitpid(process, nullptr, 0);
}

TEST_F(ProcApplicationProcessesTest, RealProcessesAreFound) {
  const fs::path program = fs::canonical(folder_.path()) / "Example.app/Contents/MacOS/Example";
  fs::create_directories(program.parent_path());
  fs::copy_file("/bin/sleep", program);
  std::string path = program.string();
  std::string argument = "1000";
  const std::array<char*, 3> arguments = {path.data(), argument.data(), nullptr};
  pid_t process = 0;
  ASSERT_EQ(posix_spawn(&process, path.c_str(), nullptr, nullptr, arguments.data(), environ), 0);

  const auto found = makeSystemApplicationProcesses()->processesOf(
      QuillonURL::fileURL(program.parent_path().parent_path().parent_path().string()));

  EXPECT_THAT(found, ElementsAre(ApplicationProcess{.identifier = process, .name = "Example", .isInstaller = false}));
  kill(process, SIGKILL);
  waitpid(process, nullptr, 0);
}

}  // namespace
}  // namespace quillon
