// The whole road of an update, from a web server to the hand-off, with everything real but the window and the launch of
// the installer command.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <semaphore>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateArchiveTool.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateSystemInstallerCoordinator.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateSystemUnzipper.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/FaultInjectingFileManager.h"
#include "Support/MisbehavingServer.h"
#include "Support/NginxServer.h"
#include "Support/ProcessResources.h"
#include "Support/RecordingProgressWindow.h"
#include "Support/ReportFifo.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/TemporaryDirectory.h"
#include "Support/UpdateInstallationWorld.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using testing::FakeHelperLauncher;
using ::testing::HasSubstr;
using testing::Interactions;
using ::testing::IsEmpty;
using testing::makeApplicationBundle;
using ::testing::Not;
using testing::readFile;
using ::testing::SizeIs;
using ::testing::StartsWith;
using testing::writeFile;

constexpr int kCancellations = QUILLON_UPDATE_CANCELLATIONS;
constexpr std::uint32_t kSeed = 20'260'611;
/// What no machine that works at all needs to end a cancelled update. An archive tool that does not end by itself is
/// killed later than that.
constexpr auto kWatchdog = std::chrono::seconds(8);
static_assert(kWatchdog < VeskUpdateSystemUnzipper::kTimeToCleanUp);
/// So many that an archive comes in several pieces, between which there is time to cancel.
constexpr std::size_t kFillerBytes = std::size_t{1536} * 1024;
/// The server rests after each piece a little longer than a transfer gathers what arrives: 768 KB take 10.7 ms at
/// 72,000 KB a second.
constexpr std::string_view kServedInPieces = "sendfile_max_chunk 768k; limit_rate 72000k;";

std::string incompressibleBytes(std::size_t count) {
  std::mt19937 generator(kSeed);
  std::string bytes(count, '\0');
  for (char& byte : bytes) byte = static_cast<char>(generator() & 0xFF);
  return bytes;
}

void runTool(const std::string& name, const std::vector<std::string>& arguments) {
  const auto result = QuillonPosixProcessRunner().run(std::string(QUILLON_BINARY_FOLDER) + "/" + name, arguments);
  ASSERT_EQ(result.status, 0) << result.output;
}

/// The archives that the server has, made once.
class Archives {
 public:
  explicit Archives(fs::path documents) : documents_(std::move(documents)) {
    const fs::path application = folder_ / "application/Example.app";
    makeApplicationBundle(application, {.version = "2.0", .build = "2"});
    writeFile(application / "Contents/Resources/filler", incompressibleBytes(kFillerBytes));
    signCode(QuillonURL::fileURL(application.string()), testing::sharedSigningOptions());
    pack(application.parent_path(), "Example.zip");

    const std::string whole = readFile(documents_ / "Example.zip");
    std::string damaged = whole;
    damaged[whole.size() / 2] = static_cast<char>(damaged[whole.size() / 2] ^ 0xFF);
    writeFile(documents_ / "Damaged.zip", damaged);
    writeFile(documents_ / "Page.zip", "<html>no archive</html>");

    fs::create_directories(folder_ / "two");
    fs::copy(application, folder_ / "two/Example.app", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    fs::copy(application, folder_ / "two/Second.APP", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    pack(folder_ / "two", "Two.zip");

    writeFile(folder_ / "installer/Read me.txt", "nothing");
    writeFile(folder_ / "installer/filler", incompressibleBytes(kFillerBytes));
    pack(folder_ / "installer", "Notes.zip");

    const fs::path future = folder_ / "future/Example.app";
    makeApplicationBundle(future, {.version = "2.0", .build = "2", .minimumSystemVersion = "999.0"});
    signCode(QuillonURL::fileURL(future.string()), testing::sharedSigningOptions());
    pack(future.parent_path(), "Future.zip");

    const fs::path hollow = folder_ / "hollow/Example.app";
    makeApplicationBundle(hollow, {.version = "2.0", .build = "2"});
    fs::remove(hollow / "Contents/MacOS/Example");
    pack(hollow.parent_path(), "Hollow.zip");

    // Last: it spoils the application.
    writeFile(application / "Contents/Resources/version.txt", "3.0");
    pack(application.parent_path(), "Tampered.zip");
  }

  /// An archive of a document that is an application which writes a line into `report`.
  void addInstaller(const fs::path& report) const {
    const fs::path document = folder_ / "document/Install Example.app";
    makeApplicationBundle(document, {.identifier = "org.example.Installer"});
    testing::writeScript(document / "Contents/MacOS/Example", "echo opened > '" + report.string() + "'");
    pack(document.parent_path(), "Installer.zip");
  }

 private:
  void pack(const fs::path& content, const std::string& name) const {
    runTool("quillon-ditto", {"-c", "-k", content.string(), (documents_ / name).string()});
  }

  const testing::TemporaryDirectory folder_;
  const fs::path documents_;
};

/// Loads with the platform's transfers, and counts what arrives as moments of the road.
class CountingTransfers final : public QuillonURLTransferring {
 public:
  explicit CountingTransfers(std::shared_ptr<Interactions> interactions) : interactions_(std::move(interactions)) {}

  void transfer(const QuillonURLRequest& request, QuillonURLTransferReceiving& receiver,
                std::stop_token stopToken) const override {
    class Counting final : public QuillonURLTransferReceiving {
     public:
      Counting(QuillonURLTransferReceiving& receiver, Interactions& interactions)
          : receiver_(receiver), interactions_(interactions) {}
      void didReceiveResponse(const QuillonURLResponse& response) override {
        interactions_.happen();
        receiver_.didReceiveResponse(response);
      }
      void didReceiveData(std::string_view bytes) override {
        interactions_.happen();
        receiver_.didReceiveData(bytes);
      }

     private:
      QuillonURLTransferReceiving& receiver_;
      Interactions& interactions_;
    };
    interactions_->happen();
    Counting counting(receiver, *interactions_);
    transfers_->transfer(request, counting, std::move(stopToken));
  }

 private:
  const std::shared_ptr<const QuillonURLTransferring> transfers_ =
      makeSystemURLTransfers({.usesProxiesOfEnvironment = false});
  const std::shared_ptr<Interactions> interactions_;
};

/// A host that installs an update, with working folders of its own and the test's thread as main thread.
class Host {
 public:
  using Window = std::shared_ptr<VeskUpdateProgressWindow>;

  explicit Host(const testing::NginxServer& server) : server_(server) {
    fs::create_directories(support);
    fs::create_directories(temporary);
    testing::writeScript(folder / "helper", "exit 0");
    files->placeWorkingFolders({QuillonURL::fileURL(support.string())}, QuillonURL::fileURL(temporary.string()));
    files->beforeEveryChange([this] { interactions->happen(); });
  }

  [[nodiscard]] VeskAppBundleUpdateRequest appBundleRequest(const std::string& archive = "/Example.zip") const {
    return {.archiveURL = server_.url(archive),
            .fallbackArchiveURL = std::nullopt,
            .archiveFileName = "Example.zip",
            .applicationName = "Example",
            .installedApplicationURL = QuillonURL::fileURL((folder / "Applications/Example.app").string()),
            .hostIdentity = {.bundleIdentifier = "org.example.App",
                             .applicationVersion = "1.0",
                             .applicationBuild = 1,
                             .expectedTeamIdentifier = std::nullopt},
            .helperExecutableURL = QuillonURL::fileURL((folder / "helper").string()),
            .installerSubdirectoryName = "Update",
            .failureReportAttemptIdentifier = "attempt-1"};
  }
  [[nodiscard]] VeskUpdateInstallerRequest installerRequest(const std::string& archive = "/Installer.zip") const {
    return {.archiveURL = server_.url(archive),
            .fallbackArchiveURL = std::nullopt,
            .archiveFileName = "Installer.zip",
            .installerFileName = "Install Example.app",
            .applicationName = "Example",
            .installerSubdirectoryName = "Installer"};
  }

  /// "done", "cancelled", or what the error says.
  std::string install(const VeskAppBundleUpdateRequest& request) {
    return run([&](const VeskUpdateInstallerCoordinator& coordinator, Window progressWindow) {
      coordinator.install(request, std::move(progressWindow), nullptr, cancellation.get_token());
    });
  }
  std::string install(const VeskUpdateInstallerRequest& request) {
    return run([&](const VeskUpdateInstallerCoordinator& coordinator, Window progressWindow) {
      coordinator.install(request, std::move(progressWindow), cancellation.get_token());
    });
  }

  [[nodiscard]] std::vector<std::string> leftBehind() const {
    return testing::itemsBelow({support, temporary}, folder.path());
  }

  testing::TemporaryDirectory folder;
  fs::path support = folder / "Support";
  fs::path temporary = folder / "Temporary";
  std::shared_ptr<Interactions> interactions = std::make_shared<Interactions>();
  std::shared_ptr<testing::FaultInjectingFileManager> files =
      std::make_shared<testing::FaultInjectingFileManager>(std::make_shared<const QuillonPosixFileManager>());
  std::shared_ptr<FakeHelperLauncher> launcher = std::make_shared<FakeHelperLauncher>(interactions);
  std::shared_ptr<testing::ProgressWindowRecord> window = std::make_shared<testing::ProgressWindowRecord>();
  /// Called with each state on the main thread.
  std::function<void(const std::string& state)> onState;
  std::stop_source cancellation;

 private:
  using Install = std::function<void(const VeskUpdateInstallerCoordinator& coordinator, Window progressWindow)>;

  std::string run(const Install& install) {
    QuillonMainThreadQueue mainThread;
    const std::shared_ptr<QuillonMainThreadDispatching> dispatching(std::shared_ptr<void>(), &mainThread);
    const QuillonURL bundle = QuillonURL::fileURL((folder / "Host.app").string());
    const auto texts =
        std::make_shared<const VeskUpdateLocalizationBundle>(files, bundle, std::vector<std::string>{"en"});
    const VeskUpdateInstallerCoordinator coordinator = makeSystemInstallerCoordinator(
        launcher, dispatching, std::make_shared<const VeskUpdateProgressWindowPresenter>(nullptr, files, bundle, texts),
        texts, files, std::make_shared<CountingTransfers>(interactions));
    auto shown = std::make_shared<testing::RecordingProgressWindow>("", dispatching.get(), window);
    window->onState = [this, &mainThread, weak = std::weak_ptr(shown)](const std::string& state) {
      interactions->happen();
      if (onState) onState(state);
      if (!state.ends_with("[Install and Relaunch]")) return;
      mainThread.post([weak] {
        if (const auto open = weak.lock()) open->press();
      });
    };
    std::stop_source end;
    std::string outcome;
    std::jthread thread([&, held = std::exchange(shown, nullptr)]() mutable {
      outcome = outcomeOf([&] { install(coordinator, std::exchange(held, nullptr)); });
      end.request_stop();
    });
    mainThread.run(end.get_token());
    thread.join();
    mainThread.drain();
    return outcome;
  }

  static std::string outcomeOf(const std::function<void()>& operation) {
    try {
      operation();
      return "done";
    } catch (const QuillonCancellationError&) {
      return "cancelled";
    } catch (const std::exception& error) {
      return error.what();
    }
  }

  const testing::NginxServer& server_;
};

class UpdateInstallationScenario : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    server = std::make_unique<testing::NginxServer>(kServedInPieces);
    archives = std::make_unique<Archives>(server->documents());
  }
  static void TearDownTestSuite() {
    archives.reset();
    server.reset();
  }
  void SetUp() override {
    if (!systemArchiveToolPath().starts_with(QUILLON_BINARY_FOLDER)) {
      GTEST_SKIP() << "root does not run tools from " << QUILLON_BINARY_FOLDER << ", which others can change";
    }
  }

  inline static std::unique_ptr<testing::NginxServer> server;
  inline static std::unique_ptr<Archives> archives;
  Host host{*server};
};

TEST_F(UpdateInstallationScenario, AnApplicationIsDownloadedUnpackedVerifiedAndHandedOn) {
  EXPECT_EQ(host.install(host.appBundleRequest()), "done");

  ASSERT_THAT(host.launcher->requests, SizeIs(1));
  const VeskAppBundleReplacementRequest& request = host.launcher->requests.front();
  EXPECT_EQ(testing::versionOfApplicationBundle(request.stagedApplicationURL.path()), "2.0");
  EXPECT_TRUE(fs::is_symlink(fs::path(request.stagedApplicationURL.path()) / "Contents/Resources/link"));
  EXPECT_EQ(request.launchUserContext, VeskAppBundleLaunchdUserContext::currentProcess());
  EXPECT_THAT(host.leftBehind(), ElementsAre("Support/Example", "Support/Example/Update", "Support/Example/Update/UUID",
                                             "Support/Example/Update/UUID/Example.app", "Support/org.example.App",
                                             "Support/org.example.App/SeamlessInstaller"));
}

TEST_F(UpdateInstallationScenario, TheWindowShowsEachStepAndRealSizes) {
  // A server that is not done before the window has shown what it announced.
  std::counting_semaphore<> announcementShown{0};
  testing::MisbehavingServer patient([&](testing::MisbehavingServer::Connection& connection) {
    (void)connection.readRequest();
    const std::string archive = readFile(server->documents() / "Example.zip");
    connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " + std::to_string(archive.size()) +
                    "\r\n\r\n");
    announcementShown.acquire();
    connection.send(archive);
  });
  host.onState = [&](const std::string& state) {
    if (state.ends_with(" 0%")) announcementShown.release();
  };
  VeskAppBundleUpdateRequest request = host.appBundleRequest();
  request.archiveURL = patient.url("/Example.zip");

  EXPECT_EQ(host.install(request), "done");

  std::vector<std::string> titles;
  for (const std::string& state : host.window->states) {
    const std::string title = state.substr(0, state.find(" | "));
    if (titles.empty() || titles.back() != title) titles.push_back(title);
  }
  EXPECT_THAT(titles, ElementsAre("Downloading update…", "Extracting update…", "Verifying update…", "Ready to Install",
                                  "Preparing to install…"));
  EXPECT_EQ(host.window->states.at(0), "Downloading update… | Preparing download… | …");
  EXPECT_EQ(host.window->states.at(1), "Downloading update… | Zero KB of 1.6 MB | 0%");
  EXPECT_THAT(host.window->states, Contains("Ready to Install | 100% | [Install and Relaunch]"));
  EXPECT_FALSE(host.window->wasUsedOffTheMainThread);
  EXPECT_TRUE(host.window->isDestroyed);
}

TEST_F(UpdateInstallationScenario, AnInstallerDocumentIsOpenedByTheDesktop) {
  const testing::ReportFifo report(host.folder / "report");
  archives->addInstaller(report.path());

  EXPECT_EQ(host.install(host.installerRequest()), "done");

  EXPECT_EQ(report.read(), "opened\n");
  EXPECT_THAT(host.leftBehind(), ElementsAre("Support/Example", "Support/Example/Installer",
                                             "Support/Example/Installer/Install Example.app"));
}

TEST_F(UpdateInstallationScenario, AFirstLocationThatHasNoArchiveIsFollowedByTheFallback) {
  VeskAppBundleUpdateRequest request = host.appBundleRequest("/none.zip");
  EXPECT_EQ(host.install(request), "downloadFailed");
  EXPECT_THAT(host.leftBehind(), IsEmpty());

  request.fallbackArchiveURL = server->url("/Example.zip");
  EXPECT_EQ(host.install(request), "done");

  EXPECT_THAT(host.launcher->requests, SizeIs(1));
}

TEST_F(UpdateInstallationScenario, ATruncatedDownloadIsNeverUnpacked) {
  testing::MisbehavingServer truncating([](testing::MisbehavingServer::Connection& connection) {
    (void)connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\nPK");
  });
  VeskAppBundleUpdateRequest request = host.appBundleRequest();
  request.archiveURL = truncating.url("/Example.zip");

  EXPECT_EQ(host.install(request), "downloadFailed");

  EXPECT_THAT(host.window->states, Not(Contains(StartsWith("Extracting"))));
  EXPECT_THAT(host.leftBehind(), IsEmpty());
}

TEST_F(UpdateInstallationScenario, AnArchiveFromAFileIsInstalledToo) {
  VeskAppBundleUpdateRequest request = host.appBundleRequest();
  request.archiveURL = QuillonURL::fileURL((server->documents() / "Example.zip").string());

  EXPECT_EQ(host.install(request), "done");
}

TEST_F(UpdateInstallationScenario, EveryUnusableArchiveHasItsErrorAndLeavesNothing) {
  const std::vector<std::pair<std::string, std::string>> table = {{"/Damaged.zip", "unzipFailed"},
                                                                  {"/Page.zip", "unzipFailed"},
                                                                  {"/Notes.zip", "noAppBundleFound"},
                                                                  {"/Two.zip", "multipleAppBundlesFound"},
                                                                  {"/Future.zip", "minimumOSVersionUnsupported"},
                                                                  {"/Hollow.zip", "missingExecutable"},
                                                                  {"/Tampered.zip", "signatureValidationFailed"}};
  for (const auto& [archive, error] : table) {
    EXPECT_EQ(host.install(host.appBundleRequest(archive)), error) << archive;

    EXPECT_THAT(host.leftBehind(), ElementsAre("Support/Example", "Support/Example/Update")) << archive;
  }
  EXPECT_THAT(host.launcher->requests, IsEmpty());
}

TEST_F(UpdateInstallationScenario, AnApplicationThatDoesNotFitTheHostHasItsError) {
  VeskAppBundleUpdateRequest request = host.appBundleRequest();
  request.hostIdentity.bundleIdentifier = "org.example.Other";
  EXPECT_EQ(host.install(request), "bundleIdentifierMismatch");

  request = host.appBundleRequest();
  request.hostIdentity.applicationVersion = "2.0";
  request.hostIdentity.applicationBuild = 2;
  EXPECT_EQ(host.install(request), "nonNewerBundleVersion");

  request = host.appBundleRequest();
  request.hostIdentity.expectedTeamIdentifier = "OTHER12345";
  EXPECT_EQ(host.install(request), "teamIdentifierMismatch");

  EXPECT_THAT(host.leftBehind(), ElementsAre("Support/Example", "Support/Example/Update"));
}

TEST_F(UpdateInstallationScenario, WithoutAUsableApplicationSupportTheTemporaryFolderServes) {
  fs::remove(host.support);
  writeFile(host.support, "a file where the folder should be");

  EXPECT_EQ(host.install(host.appBundleRequest()), "done");

  EXPECT_THAT(host.leftBehind(),
              ElementsAre("Temporary/Example", "Temporary/Example/Update", "Temporary/Example/Update/UUID",
                          "Temporary/Example/Update/UUID/Example.app"));
}

/// Requests a stop once: as soon as it is told to begin, or after that number of looks at a folder, on a thread that
/// knows nothing of what the road does meanwhile.
class Canceller {
 public:
  Canceller(std::stop_source& cancellation, fs::path watched, int looks)
      : cancellation_(cancellation), watched_(std::move(watched)), looks_(looks) {
    if (looks_ > 0) thread_ = std::jthread([this] { lookAndStop(); });
  }
  ~Canceller() { begin(); }
  Canceller(const Canceller&) = delete;
  Canceller& operator=(const Canceller&) = delete;

  void begin() {
    if (didBegin_.test_and_set()) return;
    if (looks_ > 0) {
      begun_.release();
    } else {
      stop();
    }
  }
  void waitForStop() {
    begin();
    stopped_.wait(false);
  }
  [[nodiscard]] std::chrono::steady_clock::time_point stoppedAt() const { return stoppedAt_; }

 private:
  void lookAndStop() {
    begun_.acquire();
    for (int look = 0; look < looks_; ++look) (void)fs::exists(watched_);
    stop();
  }
  void stop() {
    stoppedAt_ = std::chrono::steady_clock::now();
    cancellation_.request_stop();
    stopped_.test_and_set();
    stopped_.notify_all();
  }

  std::stop_source& cancellation_;
  const fs::path watched_;
  const int looks_;
  std::atomic_flag didBegin_;
  std::binary_semaphore begun_{0};
  std::chrono::steady_clock::time_point stoppedAt_;
  std::atomic_flag stopped_;
  std::jthread thread_;  // goes first
};

/// The last state before an update is handed on.
bool isLastState(const std::string& state) {
  return state.starts_with("Preparing to install") || state.starts_with("Opening installer");
}

/// One update that is cancelled at one moment, which is there before the hand-off in any case.
struct CancelledUpdate {
  bool replacesApplication = true;
  /// The touch of anything outside at which the canceller begins.
  int moment = 0;
  int looks = 0;
};

class UpdateCancellationScenario : public UpdateInstallationScenario {
 protected:
  static std::string install(Host& host, bool replacesApplication) {
    return replacesApplication ? host.install(host.appBundleRequest())
                               : host.install(host.installerRequest("/Notes.zip"));
  }

  /// The moments of a road, counted from 1.
  struct Moments {
    int unpacking = 0;
    int last = 0;
  };

  /// Those of a run that is disturbed by nothing up to its last state, where it is cancelled.
  static Moments momentsOf(bool replacesApplication) {
    Host updated(*server);
    Moments moments;
    updated.onState = [&](const std::string& state) {
      if (state.starts_with("Extracting")) moments.unpacking = updated.interactions->count();
      if (!isLastState(state)) return;
      moments.last = updated.interactions->count();
      updated.cancellation.request_stop();
    };
    EXPECT_EQ(install(updated, replacesApplication), "cancelled");
    return moments;
  }

  void cancel(const CancelledUpdate& update) {
    Host updated(*server);
    std::string outcome;
    {
      Canceller canceller(updated.cancellation, updated.support / "Example", update.looks);
      updated.interactions->at(update.moment, [&] { canceller.begin(); });
      updated.onState = [&](const std::string& state) {
        if (isLastState(state)) canceller.waitForStop();
      };
      outcome = install(updated, update.replacesApplication);
      slowest = std::max(slowest, std::chrono::steady_clock::now() - canceller.stoppedAt());
    }
    EXPECT_EQ(outcome, "cancelled");
    EXPECT_THAT(updated.launcher->requests, IsEmpty());
    EXPECT_THAT(updated.leftBehind(), Each(Not(AnyOf(HasSubstr("UUID"), HasSubstr(".zip"), HasSubstr("/.")))));
    const std::vector<std::string>& states = updated.window->states;
    ++cancelledIn[states.empty() ? "nothing shown" : states.back().substr(0, states.back().find(" | "))];
  }

  std::chrono::steady_clock::duration slowest{};
  /// How many were cancelled while the window showed which title.
  std::map<std::string, int> cancelledIn;
};

TEST_F(UpdateCancellationScenario, AnUpdateCancelledAtAnyMomentEndsPromptlyAndLeavesNothing) {
  const testing::ScopedOrphanAdoption orphansOfTools;
  const Moments ofInstaller = momentsOf(false);
  const Moments ofApplication = momentsOf(true);
  const testing::ProcessResources before = testing::ProcessResources::current();
  std::cout << "seed " << kSeed << ", moments of an application: " << ofApplication.last
            << ", of an installer: " << ofInstaller.last << "\n";
  std::mt19937 random(kSeed);
  const auto numberIn = [&random](int first, int last) {
    return first + static_cast<int>(random() % static_cast<unsigned>(last - first + 1));
  };
  for (int i = 0; i < kCancellations; ++i) {
    CancelledUpdate update;
    update.replacesApplication = numberIn(1, 3) > 1;
    const Moments& moments = update.replacesApplication ? ofApplication : ofInstaller;
    // The download as often as the many steps behind it.
    update.moment = i % 2 == 0 ? numberIn(1, moments.unpacking) : numberIn(moments.unpacking, moments.last);
    // As often few looks as many.
    update.looks = numberIn(1, 3) == 1 ? 0 : numberIn(1, 1 << numberIn(1, 14));
    SCOPED_TRACE("update " + std::to_string(i) + ": " + (update.replacesApplication ? "application" : "installer") +
                 ", moment " + std::to_string(update.moment) + ", looks " + std::to_string(update.looks));

    cancel(update);

    ASSERT_FALSE(HasFailure());
    ASSERT_TRUE(testing::waitForResources(before));
  }
  EXPECT_LT(slowest, kWatchdog);
  for (const auto& [title, count] : cancelledIn) std::cout << count << " in \"" << title << "\"\n";
  std::cout << "slowest end after a stop: " << std::chrono::duration_cast<std::chrono::milliseconds>(slowest).count()
            << " ms\n";
}

}  // namespace
}  // namespace quillon
