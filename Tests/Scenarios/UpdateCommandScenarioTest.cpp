// `quillon update` as its user runs it: an application of signed bundles, its launcher service and its installer, all
// of them real processes of an ordinary user.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <future>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "CodeSignature/CodeSigner.h"
#include "QuillonCore/Runtime/Linux/QuillonLinuxUserDefaults.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesCore/VeskUpdateMemory.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/MisbehavingServer.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::readFile;
using testing::versionOfApplicationBundle;
using testing::writeFile;

constexpr uid_t kOther = 65534;  // "nobody", present on every Debian system
constexpr const char* kIdentifier = "org.example.App";
constexpr const char* kBackup = "Example.app.vesk-update-backup-0F8CFD24-EDB8-4A85-B36A-15635A53049B";
/// What no machine that works at all needs for one step.
constexpr int kWatchdogMilliseconds = 30'000;

fs::path binary(const std::string& name) {
  return fs::path(QUILLON_BINARY_FOLDER) / name;
}

QuillonProcessResult runProgram(const fs::path& program, const std::vector<std::string>& arguments) {
  return QuillonPosixProcessRunner().run(program.string(), arguments);
}

/// The words that make an ordinary user of root.
std::vector<std::string> asOrdinaryUser() {
  if (geteuid() != 0) return {};
  return {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
}

void giveToOrdinaryUser(const fs::path& root) {
  if (geteuid() != 0) return;
  ASSERT_EQ(lchown(root.c_str(), kOther, kOther), 0);
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    ASSERT_EQ(lchown(entry.path().c_str(), kOther, kOther), 0);
  }
}

/// Debug information is most of a program, and all of it is sealed, copied and verified.
void copyStripped(const fs::path& program, const fs::path& destination) {
  fs::create_directories(destination.parent_path());
  const QuillonProcessResult result = runProgram("/usr/bin/strip", {"-o", destination.string(), program.string()});
  ASSERT_EQ(result.status, 0) << result.output;
}

void copyTree(const fs::path& from, const fs::path& to) {
  fs::create_directories(to.parent_path());
  fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
}

/// Two versions of the sample application and the archives of the second one, made once.
class Publisher {
 public:
  Publisher() {
    const fs::path programs = folder_ / "programs";
    for (const char* name : {"QuillonUpdateInstaller", "quillon-codesign", "quillon-open", "quillon-launchctl"}) {
      copyStripped(binary(name), programs / name);
    }
    copyStripped(binary("QuillonUpdateInstallerLauncherService"), programs / "QuillonUpdateInstallerLauncherService");
    copyStripped(fs::path(QUILLON_EXAMPLE_FOLDER) / "SampleApplication", programs / "Sample");
    makeVersion(installed(), "1.0", "1", programs);
    const fs::path next = folder_ / "2.0/Example.app";
    makeVersion(next, "2.0", "2", programs);
    pack(next.parent_path(), archive());

    copyTree(next, folder_ / "nested/Example 2.0/Example.app");
    pack(folder_ / "nested", nestedArchive());

    copyTree(next, folder_ / "tampered/Example.app");
    writeFile(folder_ / "tampered/Example.app/Contents/Resources/version.txt", "3.0");
    pack(folder_ / "tampered", tamperedArchive());
    fs::permissions(folder_.path(), fs::perms(0755));
  }

  [[nodiscard]] fs::path installed() const { return folder_ / "1.0/Example.app"; }
  [[nodiscard]] fs::path archive() const { return folder_ / "Example.zip"; }
  [[nodiscard]] fs::path nestedArchive() const { return folder_ / "Nested.zip"; }
  [[nodiscard]] fs::path tamperedArchive() const { return folder_ / "Tampered.zip"; }

 private:
  static void makeVersion(const fs::path& bundle, const std::string& version, const std::string& build,
                          const fs::path& programs) {
    testing::makeApplicationBundle(bundle, {.identifier = kIdentifier, .version = version, .build = build});
    testing::addLauncherService(bundle, programs, kIdentifier);
    testing::addPrograms(bundle, programs,
                         {"QuillonUpdateInstaller", "quillon-codesign", "quillon-open", "quillon-launchctl"});
    fs::copy_file(programs / "Sample", bundle / "Contents/MacOS/Example", fs::copy_options::overwrite_existing);
    SigningOptions options = testing::sharedSigningOptions();
    options.signsNestedCode = true;
    signCode(QuillonURL::fileURL(bundle.string()), options);
  }

  static void pack(const fs::path& content, const fs::path& archive) {
    const QuillonProcessResult result =
        runProgram(binary("quillon-ditto"), {"-c", "-k", content.string(), archive.string()});
    ASSERT_EQ(result.status, 0) << result.output;
  }

  const testing::TemporaryDirectory folder_;
};

/// A feed of one entry that offers version 2.0.
std::string feedText(const std::string& archiveURL, const std::string& pageURL = {}) {
  const auto entry = [](const std::string& key, const std::string& value) {
    return value.empty() ? std::string() : "<key>" + key + "</key><string>" + value + "</string>";
  };
  return "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><dict>" + entry("type", "update") +
         entry("id", "release-2.0") + entry("current", "2.0") + entry("currentbuild", "2") +
         entry("title", "Example 2.0") + entry("url", pageURL) + entry("app-installer", archiveURL) +
         "</dict></array></plist>";
}

std::string httpAnswer(const std::string& body, const std::string& status = "200 OK") {
  return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" +
         body;
}

/// Version 1.0 in a folder of its user's, whose processes are children of the test once their parents have ended.
class UpdateCommandScenario : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { publisher = std::make_unique<Publisher>(); }
  static void TearDownTestSuite() { publisher.reset(); }

  void SetUp() override {
    if (fs::exists("/run/systemd/system"))
      GTEST_SKIP() << "installers are units of systemd here: see SessionUpdateScenario";
    fs::permissions(folder.path(), fs::perms(0755));
    if (run({"--help"}).status != 0) GTEST_SKIP() << "an ordinary user cannot enter " << QUILLON_BINARY_FOLDER;
    trustThePublisher();
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    for (const fs::path& path : {home, temporary}) fs::create_directories(path);
    copyTree(publisher->installed(), installed);
    ASSERT_EQ(mkfifo(log.c_str(), 0666), 0);
    fs::permissions(log, fs::perms(0666));
    // Open for both ends, so that neither an application nor the test waits for the other in vain.
    log_ = open(log.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
    ASSERT_GE(log_, 0);
    offer(publisher->archive());
    giveToOrdinaryUser(folder.path());
  }
  void TearDown() override {
    for (const pid_t process : applications) ::kill(process, SIGKILL);
    waitForOrphans();
    if (log_ >= 0) close(log_);
    prctl(PR_SET_CHILD_SUBREAPER, 0);
    fs::remove(anchor);
  }

  void trustThePublisher() const {
    fs::create_directories(anchor.parent_path());
    for (const fs::path& guarded : {anchor.parent_path(), anchor.parent_path().parent_path()}) {
      fs::permissions(guarded, fs::perms(0755));
    }
    writeFile(anchor, testing::sharedSigningIdentity().root);
    fs::permissions(anchor, fs::perms(0644));
  }

  void offer(const fs::path& archive) {
    writeFile(feed, feedText("file://" + archive.string(), "file://" + (folder / "notes.txt").string()));
    feedURL = "file://" + feed.string();
  }

  /// The command line of a run in an environment of the user's.
  [[nodiscard]] std::vector<std::string> commandLine(const std::vector<std::string>& options) const {
    std::vector<std::string> words = asOrdinaryUser();
    const std::vector<std::string> command = {"/usr/bin/env",
                                              "-u",
                                              "XDG_CONFIG_HOME",
                                              "-u",
                                              "XDG_DATA_HOME",
                                              "HOME=" + home.string(),
                                              "TMPDIR=" + temporary.string(),
                                              "LC_ALL=C.UTF-8",
                                              "EXAMPLE_SETTING=kept",
                                              binary("quillon").string(),
                                              "update",
                                              installed.string(),
                                              "--feed",
                                              feedURL};
    words.insert(words.end(), command.begin(), command.end());
    words.insert(words.end(), options.begin(), options.end());
    return words;
  }

  [[nodiscard]] QuillonProcessResult run(const std::vector<std::string>& options) const {
    std::vector<std::string> words = commandLine(options);
    const std::string program = words.front();
    words.erase(words.begin());
    return QuillonPosixProcessRunner().run(program, words);
  }

  /// A run that goes on beside the test.
  class Running {
   public:
    explicit Running(std::vector<std::string> words) {
      std::array<int, 2> ends{};
      EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
      process_ = fork();
      if (process_ == 0) {
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        std::vector<char*> pointers;
        for (std::string& word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        execv(pointers.front(), pointers.data());
        _exit(127);
      }
      close(ends[1]);
      reading_ = FileDescriptor(ends[0]);
    }

    void interrupt() const noexcept { ::kill(process_, SIGINT); }
    /// Returns when the run has printed `text`.
    void waitUntilItPrints(const std::string& text) {
      while (output_.find(text) == std::string::npos && readMore()) {
      }
      EXPECT_THAT(output_, HasSubstr(text));
    }
    QuillonProcessResult wait() {
      while (readMore()) {
      }
      int status = 0;
      EXPECT_EQ(waitpid(process_, &status, 0), process_);
      return {.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), .output = output_};
    }

   private:
    /// False at the end of the output.
    bool readMore() {
      pollfd waiting{.fd = reading_.get(), .events = POLLIN, .revents = 0};
      std::array<char, 4096> bytes{};
      if (poll(&waiting, 1, kWatchdogMilliseconds) != 1) return false;
      const ssize_t count = read(reading_.get(), bytes.data(), bytes.size());
      if (count > 0) output_.append(bytes.data(), static_cast<std::size_t>(count));
      return count > 0;
    }

    pid_t process_ = 0;
    FileDescriptor reading_;
    std::string output_;
  };
  [[nodiscard]] Running start(const std::vector<std::string>& options) const { return Running(commandLine(options)); }

  /// Starts the installed application as its user.
  void startApplication() {
    std::vector<std::string> words = asOrdinaryUser();
    words.push_back(binary("quillon-open").string());
    words.push_back(installed.string());
    const std::string program = words.front();
    words.erase(words.begin());
    ASSERT_EQ(runProgram(program, words).status, 0);
  }

  /// The next event that an application has noted, as "1.0 started"; waits for it. Its process is the last of
  /// `applications` when it has started.
  std::string nextEvent() {
    std::string line;
    for (;;) {
      pollfd waiting{.fd = log_, .events = POLLIN, .revents = 0};
      if (poll(&waiting, 1, kWatchdogMilliseconds) != 1) return "nothing happened";
      char c = 0;
      while (read(log_, &c, 1) == 1) {
        if (c == '\n') return noted(line);
        line += c;
      }
    }
  }
  std::string noted(const std::string& line) {
    std::istringstream words(line);
    std::string version;
    std::string event;
    std::string word;
    pid_t process = 0;
    words >> version >> event >> word >> process;
    if (event == "started") applications.push_back(process);
    return version.append(" ").append(event);
  }

  /// Ends an application and its process.
  void quit(pid_t application) const {
    ::kill(application, SIGTERM);
    waitpid(application, nullptr, 0);
  }

  /// Waits for the processes that the command left behind: the installer, and applications that end.
  void waitForOrphans() const {
    for (const auto& thread : fs::directory_iterator("/proc/self/task")) {
      std::istringstream children(readFile(thread.path() / "children"));
      for (pid_t child = 0; children >> child;) {
        if (std::ranges::find(applications, child) == applications.end()) waitpid(child, nullptr, 0);
      }
    }
    for (const pid_t application : applications) waitpid(application, nullptr, WNOHANG);
  }

  /// What the user's settings remember was so many days earlier.
  void passDays(int count) const {
    const fs::path settingsFolder = home / ".config" / kIdentifier;
    QuillonLinuxUserDefaults settings(makeSystemFileManager(), QuillonURL::fileURL(settingsFolder.string()));
    for (const std::string_view key : {VeskUpdateMemory::lastCheckKey, VeskUpdateMemory::lastShownKey}) {
      const auto value = settings.objectForKey(key);
      const auto* const date = value ? value->getIf<QuillonPropertyListDate>() : nullptr;
      ASSERT_NE(date, nullptr) << key;
      settings.set(QuillonPropertyListValue(*date - std::chrono::days(count)), key);
    }
    giveToOrdinaryUser(settingsFolder);
  }

  /// Files and folders of the user's that are no settings, relative to the test's folder.
  [[nodiscard]] std::vector<std::string> leftBehind() const {
    std::vector<std::string> names;
    for (const fs::path& root : {home, temporary}) {
      for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string name = entry.path().lexically_relative(folder.path()).string();
        if (!entry.is_directory() && name.find("UserDefaults") == std::string::npos && !name.ends_with(".lock")) {
          names.push_back(name);
        }
      }
    }
    return names;
  }
  [[nodiscard]] std::set<std::string> applicationsFolder() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(installed.parent_path())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

  inline static std::unique_ptr<Publisher> publisher;
  testing::TemporaryDirectory folder;
  fs::path home = folder / "home";
  fs::path temporary = folder / "tmp";
  fs::path installed = fs::canonical(folder.path()) / "Applications/Example.app";
  fs::path log = fs::canonical(folder.path()) / "Applications/Sample.log";
  fs::path feed = folder / "feed.plist";
  std::string feedURL;
  fs::path anchor = fs::path(QUILLON_BINARY_FOLDER).parent_path() / "etc/quillon/anchors.d" /
                    ("update-command-scenario-" + std::to_string(getpid()) + ".pem");
  std::vector<pid_t> applications;

 private:
  int log_ = -1;
};

TEST_F(UpdateCommandScenario, TheNewVersionIsInstalledAndRunsAsItsUserWouldHaveStartedIt) {
  writeFile(folder / "notes.txt", "Faster.\nSmaller.\n");

  const QuillonProcessResult result = run({"--yes"});

  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_THAT(result.output,
              AllOf(HasSubstr("A new version is available!\n"), HasSubstr("  | Faster.\n  | Smaller.\n"),
                    HasSubstr("Extracting update"), HasSubstr("Install and Relaunch"), HasSubstr("takes over")));
  ASSERT_EQ(nextEvent(), "2.0 started");
  const fs::path process = fs::path("/proc") / std::to_string(applications.back());
  EXPECT_THAT(readFile(process / "environ"), HasSubstr("EXAMPLE_SETTING=kept"));
  EXPECT_NE(getsid(applications.back()), getsid(0));  // ends neither with the terminal nor with its process group
  waitForOrphans();
  EXPECT_EQ(versionOfApplicationBundle(installed), "2.0");
  EXPECT_THAT(applicationsFolder(), ElementsAre("Example.app", "Sample.log"));

  const QuillonProcessResult next = run({});

  EXPECT_EQ(next.status, 0);
  EXPECT_EQ(
      next.output,
      "Example was updated from version 1.0 to 2.0.\nNo Updates Available\nYou are running the current version of "
      "Example.\n");
  EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_F(UpdateCommandScenario, ACheckAnswersByItsExitStatusAndInstallsNothing) {
  const QuillonProcessResult result = run({"--check", "--json"});

  EXPECT_EQ(result.status, 10);
  EXPECT_THAT(result.output,
              HasSubstr("{\"result\":\"offered\",\"identifier\":\"org.example.App\",\"version\":\"1.0\",\"build\":1,"
                        "\"offer\":{\"identifier\":\"release-2.0\",\"version\":\"2.0\",\"build\":\"2\","
                        "\"title\":\"Example 2.0\",\"isBeta\":false},\"error\":null,\"previousFailure\":null,"));
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_F(UpdateCommandScenario, WithoutTerminalAndConsentNothingIsInstalled) {
  const QuillonProcessResult result = run({});

  EXPECT_EQ(result.status, 10);
  EXPECT_THAT(result.output, HasSubstr("there is nobody to ask"));
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_F(UpdateCommandScenario, AnArchiveThatNestsTheApplicationOneFolderDownIsInstalled) {
  offer(publisher->nestedArchive());

  EXPECT_EQ(run({"--yes"}).status, 0);

  EXPECT_EQ(nextEvent(), "2.0 started");
  EXPECT_EQ(versionOfApplicationBundle(installed), "2.0");
}

TEST_F(UpdateCommandScenario, AnArchiveThatWasTamperedWithIsRefusedBeforeTheApplicationHasToQuit) {
  offer(publisher->tamperedArchive());
  startApplication();
  ASSERT_EQ(nextEvent(), "1.0 started");

  const QuillonProcessResult result = run({"--yes"});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("quillon update: Update Failed: The code signature of the update is not valid"));
  EXPECT_THAT(result.output, HasSubstr("(signatureValidationFailed)"));
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_F(UpdateCommandScenario, AFeedIsAskedOfItsServerPastEveryCache) {
  std::string request;
  testing::MisbehavingServer proxy([&](testing::MisbehavingServer::Connection& connection) {
    request = connection.readRequest();
    const bool mayUseStaleCopy = request.find("Cache-Control: no-cache\r\n") == std::string::npos;
    connection.send(httpAnswer(mayUseStaleCopy ? "<plist><array/></plist>" : feedText("file:///archive.zip")));
  });
  feedURL = proxy.url("/feed.plist").absoluteString();

  EXPECT_EQ(run({"--check"}).status, 10);

  EXPECT_THAT(request, HasSubstr("\r\nPragma: no-cache\r\n"));
}

TEST_F(UpdateCommandScenario, AServerThatFailsIsAnErrorWithAReason) {
  testing::MisbehavingServer server([](testing::MisbehavingServer::Connection& connection) {
    connection.readRequest();
    connection.send(httpAnswer("broken", "500 Internal Server Error"));
  });
  feedURL = server.url("/feed.plist").absoluteString();

  const QuillonProcessResult result = run({"--yes", "--json"});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\"code\":\"feedNotLoaded\""));
  EXPECT_THAT(result.output, HasSubstr("quillon update: Unable to Check For Updates: The server answered the request "
                                       "for the feed " +
                                       feedURL + " with status 500."));
}

TEST_F(UpdateCommandScenario, AnInterruptedDownloadLeavesNothing) {
  std::promise<void> didBegin;
  testing::MisbehavingServer server([&](testing::MisbehavingServer::Connection& connection) {
    connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\nbeginning");
    didBegin.set_value();
    connection.waitUntilClosed();
  });
  writeFile(feed, feedText(server.url("/Example.zip").absoluteString()));
  Running running = start({"--yes"});
  didBegin.get_future().wait();

  running.interrupt();

  const QuillonProcessResult result = running.wait();
  EXPECT_EQ(result.status, 130);
  EXPECT_THAT(result.output, HasSubstr("quillon update: Cancelled.\n"));
  EXPECT_THAT(leftBehind(), IsEmpty());
  EXPECT_EQ(run({"--check"}).output, "Example 2.0 is available; version 1.0 is installed.\n");
}

TEST_F(UpdateCommandScenario, AnApplicationThatDoesNotQuitIsNamedAndLeftAsItIs) {
  startApplication();
  ASSERT_EQ(nextEvent(), "1.0 started");
  startApplication();
  ASSERT_EQ(nextEvent(), "1.0 started");

  const QuillonProcessResult result = run({"--yes", "--wait", "0"});

  EXPECT_EQ(result.status, 1);
  for (const pid_t application : applications) {
    EXPECT_THAT(result.output, HasSubstr(std::to_string(application) + " (Example)"));
  }
  EXPECT_THAT(result.output, HasSubstr("Nothing was changed."));
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_F(UpdateCommandScenario, TheUpdateWaitsUntilEveryCopyOfTheApplicationHasQuit) {
  startApplication();
  ASSERT_EQ(nextEvent(), "1.0 started");
  startApplication();
  ASSERT_EQ(nextEvent(), "1.0 started");
  const std::vector<pid_t> copies = applications;
  Running running = start({"--yes"});
  running.waitUntilItPrints("Waiting until it has quit");
  quit(copies[0]);
  ASSERT_EQ(nextEvent(), "1.0 quits");
  running.waitUntilItPrints("Waiting until it has quit: process " + std::to_string(copies[1]) + " (Example)\n");
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");

  quit(copies[1]);

  EXPECT_EQ(running.wait().status, 0);
  ASSERT_EQ(nextEvent(), "1.0 quits");
  EXPECT_EQ(nextEvent(), "2.0 started");
  EXPECT_EQ(versionOfApplicationBundle(installed), "2.0");
}

TEST_F(UpdateCommandScenario, WhatTheInstallerRefusesIsExplainedByTheNextRun) {
  startApplication();
  ASSERT_EQ(nextEvent(), "1.0 started");
  Running running = start({"--yes"});
  running.waitUntilItPrints("Waiting until it has quit");
  // Behind the back of the command, which has validated it.
  for (const auto& entry : fs::recursive_directory_iterator(home)) {
    if (entry.path().filename() == "version.txt") writeFile(entry.path(), "evil");
  }
  quit(applications.front());
  ASSERT_EQ(nextEvent(), "1.0 quits");
  ASSERT_EQ(running.wait().status, 0);
  ASSERT_EQ(nextEvent(), "1.0 started");  // again
  waitForOrphans();

  const QuillonProcessResult next = run({});

  EXPECT_THAT(next.output,
              AllOf(HasSubstr("Update Failed (Example 2.0)\nThe code signature of the update is not valid"),
                    HasSubstr("Report of the last attempt: signatureValidationFailed, 20")));
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  EXPECT_THAT(leftBehind(), IsEmpty());
  EXPECT_EQ(run({"--check"}).output, "Example 2.0 is available; version 1.0 is installed.\n");
}

TEST_F(UpdateCommandScenario, AnApplicationThatAnInterruptedInstallerMovedAsideIsPutBackAndUpdated) {
  fs::rename(installed, installed.parent_path() / kBackup);

  const QuillonProcessResult result = run({"--yes"});

  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("The version from before an interrupted update was put back.\n"));
  EXPECT_EQ(nextEvent(), "2.0 started");
  waitForOrphans();
  EXPECT_THAT(applicationsFolder(), ElementsAre("Example.app", "Sample.log"));
}

TEST_F(UpdateCommandScenario, WhomNoAdministratorHelpsIsToldOnce) {
  fs::permissions(installed.parent_path(), fs::perms(0555));
  if (geteuid() == 0) {
    ASSERT_EQ(chown(installed.parent_path().c_str(), 0, 0), 0);
  }

  const QuillonProcessResult first = run({"--scheduled", "--yes"});

  EXPECT_EQ(first.status, 1);
  EXPECT_THAT(first.output, HasSubstr("An administrator has to allow this update."));
  EXPECT_THAT(first.output, HasSubstr("(authorizationDenied"));
  EXPECT_THAT(leftBehind(), IsEmpty());

  passDays(2);
  const QuillonProcessResult second = run({"--scheduled", "--yes"});

  EXPECT_EQ(second.status, 0);
  EXPECT_EQ(second.output,
            "Version 2.0 of Example is available. It was skipped, or no administrator allowed it; run the command "
            "without --scheduled to be offered it again.\n");
  fs::permissions(installed.parent_path(), fs::perms(0755));
}

}  // namespace
}  // namespace quillon
