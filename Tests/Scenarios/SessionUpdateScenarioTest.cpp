// `quillon update` in the session of a desktop: feed, release notes and archive from a web server, an application that
// is a program of its own, and the service managers of systemd, all of it real, in a machine of its own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Scenarios/MachineScenario.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/HostApplication.h"
#include "Support/MisbehavingServer.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using testing::MachineScenario;
using testing::MisbehavingServer;
using ::testing::Not;
using testing::TestMachine;
using ::testing::UnorderedElementsAre;
using testing::versionOfApplicationBundle;

constexpr const char* kUsersApplication = "/home/alice/Applications/Example.app";
constexpr const char* kRootsApplication = "/opt/Applications/Example.app";

/// Functions for a script in a session.
constexpr const char* kFunctions =
    // Waits for what the application notes next, such as "2.0 started", and prints it; $process is the application's.
    // Open for both ends, so that one who notes something and goes does not look like the end of the log.
    "exec 3<> \"$log\"\n"
    "event() { read -r version what label process rest <&3 && echo \"$version $what\"; }\n"
    "sessionOf() { cut -d' ' -f6 /proc/$1/stat; }\n"
    // What the kernel says of the application.
    "tell() {\n"
    "  echo '[environment]'; tr '\\0' '\\n' < /proc/$process/environ; echo '[end]'\n"
    "  cat /proc/$process/cgroup\n"
    "  [ $(sessionOf $process) = $(sessionOf $$) ] || echo 'in a session of its own'\n"
    "  echo \"user: $(stat -c %U /proc/$process)\"\n"
    "}\n"
    "quit() { kill -TERM $process && event; }\n";

class SessionUpdateScenario : public MachineScenario {
 protected:
  static void SetUpTestSuite() {
    MachineScenario::SetUpTestSuite();
    if (!isBooted()) return;
    versions_ = std::make_unique<testing::TemporaryDirectory>();
    vouchForSignatures();
    makeVersion("1.0", "1");
    makeVersion("2.0", "2");
    const std::string archive = *versions_ / "Example.zip";
    const QuillonProcessResult packed = QuillonPosixProcessRunner().run(
        std::string(QUILLON_BINARY_FOLDER) + "/quillon-ditto", {"-c", "-k", *versions_ / "2.0", archive});
    ASSERT_EQ(packed.status, 0) << packed.output;
    archive_ = testing::readFile(archive);
  }
  static void TearDownTestSuite() {
    versions_.reset();
    MachineScenario::TearDownTestSuite();
  }

  void SetUp() override {
    MachineScenario::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    machine().callInNetwork([this] {
      server_ =
          std::make_unique<MisbehavingServer>([this](MisbehavingServer::Connection& connection) { serve(connection); });
    });
    for (const auto& [bundle, owner] : {std::pair{kUsersApplication, "alice"}, std::pair{kRootsApplication, "root"}}) {
      place(*versions_ / "1.0/Example.app", bundle, owner);
      ASSERT_EQ(machine().run({"mkfifo", "--mode=666", logOf(bundle)}).output, "");
    }
  }
  void TearDown() override {
    if (!isBooted()) return;
    server_.reset();
    removePolicy();
    for (const char* item : {"dialogs", "output", ".config", ".local"}) {
      fs::remove_all(machine().root() / "home/alice" / item);
    }
  }

  /// Runs a script with kFunctions in a session of alice that has a display, a language and a setting of hers, and
  /// whose agent agrees. "$update" is the command that updates `bundle`. What it prints.
  std::string runScript(const std::string& bundle, const std::string& script) const {
    const TestMachine::Session session = {.environment = {"DISPLAY=:7", "LANG=de_DE.UTF-8", "EXAMPLE_SETTING=kept",
                                                          "NOTIFY_SOCKET=/nowhere", "XDG_ACTIVATION_TOKEN=used",
                                                          "update=" + updateOf(bundle), "log=" + logOf(bundle)}};
    return machine()
        .runInSession(session,
                      {std::string(programsFolder) + "/ScriptedPolkitAgent", "yes", TestMachine::administratorPassword,
                       "/home/alice/dialogs", "/usr/bin/timeout", "60", "/bin/bash", "-c", kFunctions + script})
        .output;
  }

  [[nodiscard]] std::set<std::string> requestedPaths() const {
    const std::lock_guard guard(lock_);
    return requestedPaths_;
  }

  [[nodiscard]] static std::string versionAt(const std::string& bundle) {
    return versionOfApplicationBundle(machine().root() / fs::path(bundle).relative_path());
  }

 private:
  static void makeVersion(const std::string& version, const std::string& build) {
    testing::makeHostApplication(
        *versions_ / version / "Example.app",
        {.version = version, .build = build, .program = fs::path(QUILLON_EXAMPLE_FOLDER) / "SampleApplication"},
        QUILLON_BINARY_FOLDER);
  }
  /// Where the sample application notes its events; a pipe.
  static std::string logOf(const std::string& bundle) { return fs::path(bundle).parent_path() / "Sample.log"; }

  [[nodiscard]] std::string updateOf(const std::string& bundle) const {
    return std::string(commandsFolder) + "/quillon update " + bundle + " --feed " +
           server_->url("/feed.plist").absoluteString() + " --yes";
  }

  void serve(MisbehavingServer::Connection& connection) {
    const std::string request = connection.readRequest();
    const std::size_t begin = request.find(' ') + 1;
    const std::string path = request.substr(begin, request.find(' ', begin) - begin);
    const std::map<std::string, std::string> pages = {
        {"/feed.plist", feed()}, {"/notes.html", "<p>Faster than <b>ever</b>.</p>"}, {"/Example.zip", archive_}};
    const auto page = pages.find(path);
    const std::string body = page == pages.end() ? std::string() : page->second;
    connection.send(std::string("HTTP/1.1 ") + (page == pages.end() ? "404 Not Found" : "200 OK") +
                    "\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    const std::lock_guard guard(lock_);
    requestedPaths_.insert(path);
  }
  [[nodiscard]] std::string feed() const {
    const auto entry = [](const std::string& key, const std::string& value) {
      return "<key>" + key + "</key><string>" + value + "</string>";
    };
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><dict>" + entry("type", "update") +
           entry("id", "2.0") + entry("current", "2.0") + entry("currentbuild", "2") +
           entry("url", server_->url("/notes.html").absoluteString()) +
           entry("app-installer", server_->url("/Example.zip").absoluteString()) + "</dict></array></plist>";
  }

  inline static std::unique_ptr<testing::TemporaryDirectory> versions_;
  inline static std::string archive_;

  mutable std::mutex lock_;
  std::set<std::string> requestedPaths_;  // guarded by lock_
  std::unique_ptr<MisbehavingServer> server_;
};

TEST_F(SessionUpdateScenario, AnApplicationOfTheUsersIsReplacedByTheUsersManagerAndKeepsItsUsersEnvironment) {
  const std::string output =
      runScript(kUsersApplication,
                std::string("export PROMPT=$'100%h $HOME ${HOME} \"a\" \\'b\\' \\\\n\\nlast line' LATIN1=$'\\xe9'\n"
                            "caller=$INVOCATION_ID\n"
                            "env 'BASH_FUNC_f%%=() { :; }' $update && event && tell\n"
                            "echo \"same invocation: $(grep -zc \"$caller\" /proc/$process/environ)\"\n"
                            "quit && ") +
                    waitForUnitsOfUser + " && echo gone");

  EXPECT_THAT(output, AllOf(HasSubstr("Faster than ever."), HasSubstr("\n2.0 started\n"), HasSubstr("user: alice\n")));
  EXPECT_THAT(output, HasSubstr("\nEXAMPLE_SETTING=kept\n"));
  EXPECT_THAT(output, AllOf(HasSubstr("\nLANG=de_DE.UTF-8\n"), HasSubstr("\nDISPLAY=:7\n")));
  EXPECT_THAT(output, HasSubstr("\nPROMPT=100%h $HOME ${HOME} \"a\" 'b' \\n\nlast line\n"));
  EXPECT_THAT(output, AllOf(Not(HasSubstr("NOTIFY_SOCKET")), Not(HasSubstr("XDG_ACTIVATION_TOKEN")),
                            HasSubstr("same invocation: 0\n")));
  EXPECT_THAT(output, HasSubstr("/user@1000.service/app.slice/org.example.App.quillon-updater.service\n"));
  EXPECT_THAT(output, AllOf(HasSubstr("in a session of its own\n"), HasSubstr("2.0 quits\ngone\n")));
  EXPECT_THAT(requestedPaths(), UnorderedElementsAre("/feed.plist", "/notes.html", "/Example.zip"));
  EXPECT_EQ(versionAt(kUsersApplication), "2.0");
  expectNothingIsLeft();
}

TEST_F(SessionUpdateScenario, AnEnvironmentThatNoUnitTakesDoesNotKeepAnApplicationFromBeingReplaced) {
  // 3 MB: more than the kernel gives a program in a unit, whose stack may grow to 8 MiB.
  const std::string output =
      runScript(kUsersApplication, std::string("ulimit -s 32768\n"
                                               "for n in $(seq 30); do export LONG$n=$(printf %0100000d 0); done\n"
                                               "$update && event && tell | cut -c 1-100 && quit && ") +
                                       waitForUnitsOfUser + " && echo gone");

  EXPECT_THAT(output, AllOf(HasSubstr("\n2.0 started\n"), HasSubstr("\nEXAMPLE_SETTING=kept\n")));
  EXPECT_THAT(output, HasSubstr("2.0 quits\ngone\n"));
}

TEST_F(SessionUpdateScenario, AnApplicationThatRunsIsWaitedForAndRunsAgain) {
  const std::string output =
      runScript(kUsersApplication, std::string(commandsFolder) + "/quillon-open " + kUsersApplication +
                                       " && event\n"
                                       "$update > /home/alice/output 2>&1 &\n"
                                       "timeout 20 sh -c \"until grep -qs 'process $process (Example)' "
                                       "/home/alice/output; do :; done\" && echo named\n"
                                       "quit && wait $! && event && quit && " +
                                       waitForUnitsOfUser + " && echo gone");

  EXPECT_EQ(output, "1.0 started\nnamed\n1.0 quits\n2.0 started\n2.0 quits\ngone\n");
  EXPECT_EQ(versionAt(kUsersApplication), "2.0");
  expectNothingIsLeft();
}

TEST_F(SessionUpdateScenario, AnApplicationOfRootsRunsAgainWithTheEnvironmentOfItsUsersSession) {
  installPolicyOf(kRootsApplication);

  const std::string output = runScript(kRootsApplication, "$update && event && tell && quit");

  EXPECT_THAT(output, AllOf(HasSubstr("\n2.0 started\n"), HasSubstr("user: alice\n"), HasSubstr("\nHOME=/home/alice\n"),
                            HasSubstr("\nXDG_RUNTIME_DIR=/run/user/1000\n")));
  EXPECT_THAT(output, AllOf(HasSubstr("\nDISPLAY=:7\n"), HasSubstr("\nLANG=de_DE.UTF-8\n"),
                            HasSubstr("\nDBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/1000/bus\n")));
  EXPECT_THAT(output, Not(HasSubstr("EXAMPLE_SETTING")))
      << "the installer, which runs as root, takes nothing else over";
  EXPECT_THAT(output, HasSubstr("/system.slice/org.example.App.quillon-relaunch.service\n"));
  EXPECT_THAT(output, AllOf(HasSubstr("in a session of its own\n"), HasSubstr("2.0 quits\n")));
  EXPECT_EQ(versionAt(kRootsApplication), "2.0");
  expectNothingIsLeft();
}

}  // namespace
}  // namespace quillon
