#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <string>

#include "QuillonTool/Update/Linux/ProcApplicationProcesses.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A folder that looks like proc(5).
class ProcApplicationProcessesTest : public ::testing::Test {
 protected:
  void addProcess(const std::string& identifier, const std::string& program,
                  const std::string& commandLine = {}) const {
    fs::create_directories(folder_ / identifier);
    fs::create_symlink(program, folder_ / identifier / "exe");
    testing::writeFile(folder_ / identifier / "cmdline", commandLine);
  }
  [[nodiscard]] std::vector<ApplicationProcess> processes() const {
    return ProcApplicationProcesses(folder_.path().string()).processesOf(QuillonURL::fileURL("/opt/Example.app"));
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

TEST_F(ProcApplicationProcessesTest, AProcessWhoseWordsCannotBeReadIsKnownByItsProgram) {
  // As those of a process that ends at that moment, whose file can be opened still.
  fs::create_directories(folder_ / "31/cmdline");
  fs::create_symlink("/opt/Example.app/Contents/MacOS/Example", folder_ / "31/exe");

  EXPECT_THAT(processes(), ElementsAre(ApplicationProcess{.identifier = 31, .name = "Example", .isInstaller = false}));
}

TEST_F(ProcApplicationProcessesTest, WithoutSuchAFolderThereAreNone) {
  EXPECT_THAT(ProcApplicationProcesses("/nowhere").processesOf(QuillonURL::fileURL("/")), IsEmpty());
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
