// The sample host application as its user meets it: its own process with real windows, a web server, the launcher
// service and the installer in its bundle, and the application again.

#include <fcntl.h>
#include <gio/gio.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "CodeSignature/CodeSigner.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Runtime/QuillonSystemClock.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReportStore.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/VirtualDesktop.h"
#include "Support/NginxServer.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::VirtualDesktop;
using testing::writeFile;

constexpr const char* kIdentifier = "org.example.Sample";
constexpr const char* kObjectPath = "/org/example/Sample";
constexpr uid_t kNobody = 65534;  // "nobody", present on every Debian system

/// Makes this process an ordinary user's for good, if it is root's. For root, the relaunched application would appear
/// in whichever session of root's there is on the machine.
void becomeOrdinaryUser() {
  if (geteuid() != 0) return;
  const bool isOrdinary = setgroups(0, nullptr) == 0 && setresgid(kNobody, kNobody, kNobody) == 0 &&
                          setresuid(kNobody, kNobody, kNobody) == 0 && prctl(PR_SET_DUMPABLE, 1) == 0;
  if (!isOrdinary) throw std::runtime_error("Cannot become an ordinary user");
}

/// Whether everybody on this machine may run what was built.
bool isBuildFolderPublic() {
  for (fs::path folder = QUILLON_BINARY_FOLDER; folder.has_relative_path(); folder = folder.parent_path()) {
    if ((fs::status(folder).permissions() & fs::perms::others_exec) == fs::perms::none) return false;
  }
  return true;
}

void run(const std::string& program, const std::vector<std::string>& arguments) {
  const auto result = QuillonPosixProcessRunner().run(program, arguments);
  ASSERT_EQ(result.status, 0) << program << ": " << result.output;
}

/// Every process that runs `executable`.
std::vector<pid_t> processesOf(const fs::path& executable) {
  std::vector<pid_t> found;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    std::error_code error;  // of a process that has ended, and of the many entries that are none
    if (fs::read_symlink(entry.path() / "exe", error) == executable)
      found.push_back(std::stoi(entry.path().filename()));
  }
  return found;
}

/// Has the machine trust the team of the tests until this process ends or no longer needs it: what root wrote is
/// removed by a child, which stays root's.
class TrustedTeam {
 public:
  TrustedTeam() {
    const std::string anchor =
        QUILLON_BINARY_FOLDER "/../etc/quillon/anchors.d/sample-host-scenario-" + std::to_string(getpid()) + ".pem";
    writeFile(anchor, testing::sharedSigningIdentity().root);
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("Cannot make a pipe");
    remover_ = fork();
    if (remover_ == 0) {
      close(ends[1]);
      char nothing = 0;
      static_cast<void>(read(ends[0], &nothing, 1));  // returns when the other end is closed
      unlink(anchor.c_str());
      _exit(0);
    }
    close(ends[0]);
    isNeeded_ = FileDescriptor(ends[1]);
  }
  ~TrustedTeam() {
    isNeeded_ = FileDescriptor();
    waitpid(remover_, nullptr, 0);
  }
  TrustedTeam(const TrustedTeam&) = delete;
  TrustedTeam& operator=(const TrustedTeam&) = delete;

 private:
  FileDescriptor isNeeded_;
  pid_t remover_ = -1;
};

/// Versions 1.0 and 2.0 of the application, the feed that offers the second, and its server; made once.
class Publisher {
 public:
  Publisher() {
    make("1.0", "1", folder_ / "1.0/Sample.app");
    make("2.0", "2", folder_ / "2.0/Sample.app");
    pack("Sample.zip");
    writeFile(folder_ / "2.0/Sample.app/Contents/Resources/Logo.svg", "<svg/>");
    pack("Tampered.zip");
    writeFile(server_.documents() / "notes.html", "<p>What is better</p>");
  }

  void offer(const std::string& archive) const {
    const auto entry = [](const std::string& key, const std::string& value) {
      return "<key>" + key + "</key><string>" + value + "</string>";
    };
    writeFile(server_.documents() / "feed.plist",
              "<plist version=\"1.0\"><array><dict>" + entry("type", "update") + entry("id", "sample-2.0") +
                  entry("title", "Sample 2.0") + entry("current", "2.0") + entry("currentbuild", "2") +
                  entry("url", server_.url("/notes.html").absoluteString()) +
                  entry("app-installer", server_.url("/" + archive).absoluteString()) + "</dict></array></plist>\n");
  }
  void installFirstVersion(const fs::path& bundle) const {
    fs::create_directories(bundle.parent_path());
    fs::copy(folder_ / "1.0/Sample.app", bundle, fs::copy_options::recursive);
  }

 private:
  void make(const std::string& version, const std::string& build, const fs::path& bundle) const {
    const std::string source = QUILLON_SOURCE_FOLDER;
    const std::string example = source + "/Examples/SampleHost";
    const std::string built = (fs::path(QUILLON_BINARY_FOLDER).parent_path() / "examples/SampleHost").string();
    run(example + "/make_bundle", {"--identifier", kIdentifier,

                                   "--version",    version,
                                   "--build",      build,
                                   "--team",       "TEAM123456",
                                   "--feed",       server_.url("/feed.plist").absoluteString(),
                                   "--page",       "https://example.org/",
                                   "--resources",  example + "/Resources",
                                   "--programs",   QUILLON_BINARY_FOLDER,
                                   "--texts",      source + "/Resources/Texts",
                                   built,          bundle.string()});
    SigningOptions options = testing::sharedSigningOptions();
    options.signsNestedCode = true;
    signCode(QuillonURL::fileURL(bundle.string()), options);
  }
  void pack(const std::string& name) const {
    run(std::string(QUILLON_BINARY_FOLDER) + "/quillon-ditto",
        {"-c", "-k", (folder_ / "2.0").string(), (server_.documents() / name).string()});
  }

  const testing::TemporaryDirectory folder_;
  const testing::NginxServer server_;
};

class SampleHostScenario : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (hasServiceManager() || !isBuildFolderPublic()) return;
    team = std::make_unique<TrustedTeam>();
    becomeOrdinaryUser();
    desktop = &VirtualDesktop::shared();
    publisher = std::make_unique<Publisher>();
  }
  static void TearDownTestSuite() {
    publisher.reset();
    team.reset();
  }

  void SetUp() override {
    if (hasServiceManager()) GTEST_SKIP() << "the machine's service manager would start the update in another session";
    if (!isBuildFolderPublic()) GTEST_SKIP() << "an ordinary user cannot run programs of " << QUILLON_BINARY_FOLDER;
    publisher->offer("Sample.zip");
    publisher->installFirstVersion(bundle);
    forgetEverything();
  }
  void TearDown() override {
    for (const pid_t process : processesOf(executable)) kill(process, SIGKILL);
    // The installer too, which cleans up once the update runs.
    EXPECT_TRUE(desktop == nullptr || desktop->serveUntil([this] { return isGone(folder.path()); }));
    if (started_ > 0) waitpid(started_, nullptr, 0);
  }

  /// Removes the settings, reports and downloads of the application.
  static void forgetEverything() {
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
      fs::remove_all(std::getenv(name));
      fs::create_directory(std::getenv(name));
    }
  }

  /// As the desktop does. A sanitizer would look for leaks of the toolkit when the application ends.
  void start() {
    std::string environment = "/usr/bin/env";
    std::string withoutLeakCheck = "ASAN_OPTIONS=detect_leaks=0";
    std::string program = executable.string();
    const std::array<char*, 4> arguments{environment.data(), withoutLeakCheck.data(), program.data(), nullptr};
    ASSERT_EQ(posix_spawn(&started_, environment.c_str(), nullptr, nullptr, arguments.data(), environ), 0);
  }
  /// The automatic check has just been made.
  static void postponeAutomaticCheck() {
    const QuillonPropertyListValue now(QuillonSystemClock().now());
    makeSystemUserDefaults(kIdentifier)->set(now, "QuillonUpdateLastCheck");
  }
  static void chooseFromMenu(const std::string& action) {
    const std::unique_ptr<GDBusConnection, void (*)(gpointer)> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr),
                                                                   g_object_unref);
    g_variant_unref(g_dbus_connection_call_sync(bus.get(), kIdentifier, kObjectPath, "org.gtk.Actions", "Activate",
                                                g_variant_new("(sava{sv})", action.c_str(), nullptr, nullptr), nullptr,
                                                G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
  }

  /// What is on the screen, when `part` is among it. Throws when it does not come.
  [[nodiscard]] std::string screenWith(const std::string& part) {
    std::string screen;
    const bool isThere = desktop->serveUntil([&] {
      reapStarted();
      const std::vector<pid_t> processes = processesOf(executable);
      if (processes.size() != 1) return false;
      screen.clear();
      for (const std::string& line : desktop->accessibleParts(processes.front())) screen += line + '\n';
      return screen.find('\t' + part + '\t') != std::string::npos;
    });
    if (!isThere) throw std::runtime_error(part + " is missing on:\n" + screen);
    return screen;
  }
  void press(const std::string& button) {
    static_cast<void>(screenWith(button));
    ASSERT_TRUE(desktop->pressThroughAccessibility(button, processesOf(executable).front()));
  }
  void quit() {
    chooseFromMenu("quit");
    EXPECT_TRUE(desktop->serveUntil([this] { return isGone(executable); }));
  }
  [[nodiscard]] bool isGone(const fs::path& prefix) {
    reapStarted();
    return processesOf(prefix).empty();
  }
  /// Nobody else does, and the installer waits for it.
  void reapStarted() {
    if (started_ > 0 && waitpid(started_, nullptr, WNOHANG) > 0) started_ = -1;
  }
  [[nodiscard]] std::string installedVersion() const {
    return bundleInformationText(*makeSystemFileManager(), QuillonURL::fileURL(bundle.string()),
                                 "CFBundleShortVersionString")
        .value_or("none");
  }
  static bool hasServiceManager() { return fs::exists("/run/systemd/system"); }

  inline static std::unique_ptr<TrustedTeam> team;
  inline static VirtualDesktop* desktop = nullptr;
  inline static std::unique_ptr<Publisher> publisher;
  const testing::TemporaryDirectory folder;
  const fs::path bundle = folder / "Applications/Sample.app";
  const fs::path executable = bundle / "Contents/MacOS/Sample";

 private:
  pid_t started_ = -1;
};

TEST_F(SampleHostScenario, AnUpdateAskedForInTheMenuIsInstalledAndStarted) {
  postponeAutomaticCheck();
  start();
  static_cast<void>(screenWith("Sample 1.0"));

  chooseFromMenu("check-for-updates");
  press("Install Update");
  press("Install and Relaunch");

  EXPECT_THAT(screenWith("Sample 2.0"), Not(HasSubstr("Update Failed")));
  EXPECT_EQ(installedVersion(), "2.0");
  chooseFromMenu("check-for-updates");
  EXPECT_THAT(screenWith("No Updates Available"), HasSubstr("You are running the current version of Sample."));
  press("OK");
  quit();
}

TEST_F(SampleHostScenario, AnUpdateIsOfferedByItselfAndNotAgainBeforeTheReminderDelayIsOver) {
  start();
  press("Remind Me Later");
  quit();

  makeSystemUserDefaults(kIdentifier)->removeObject("QuillonUpdateLastCheck");
  start();
  static_cast<void>(screenWith("Sample 1.0"));
  ASSERT_TRUE(desktop->serveUntil(
      [] { return makeSystemUserDefaults(kIdentifier)->objectForKey("QuillonUpdateLastCheck").has_value(); }));

  EXPECT_THAT(screenWith("Sample 1.0"), Not(HasSubstr("Install Update")));
  quit();
}

TEST_F(SampleHostScenario, AnUpdateThatWasTamperedWithIsRefusedWithAReasonAndTheApplicationGoesOn) {
  publisher->offer("Tampered.zip");
  start();

  press("Install Update");

  EXPECT_THAT(screenWith("Update Failed"), HasSubstr("does not come from the maker of the application"));
  press("Cancel");
  EXPECT_EQ(installedVersion(), "1.0");
  quit();
}

TEST_F(SampleHostScenario, AFailureThatTheInstallerReportedIsExplainedOnceAtTheNextStart) {
  postponeAutomaticCheck();
  const VeskAppBundleUpdateFailureReportStore store(makeSystemFileManager());
  store.writeFailureReport("relaunchFailed", kIdentifier, QuillonSystemClock().now(), std::nullopt);

  start();

  EXPECT_THAT(screenWith("Update Failed"), HasSubstr("The new version could not be started"));
  press("Cancel");
  quit();
  EXPECT_EQ(store.consumeFailureReport(kIdentifier, std::nullopt), std::nullopt);
}

}  // namespace
}  // namespace quillon
