#include "QuillonTool/Update/UpdateInstallation.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>
#include <variant>
#include <vector>

#include "QuillonCore/Runtime/QuillonMainThreadCall.h"
#include "QuillonCore/Text/QuillonPlainText.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonUUID.h"
#include "QuillonTool/Update/ApplicationQuitWait.h"
#include "QuillonTool/Update/QuitAwaitingHelperLauncher.h"
#include "QuillonTool/Update/UpdateConsentWindows.h"
#include "QuillonTool/Update/UpdateExplanation.h"
#include "QuillonTool/Update/UpdateFailure.h"
#include "QuillonTool/Update/UpdateWorkingFolders.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalProgressWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlertPresenter.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Entry = QuillonPropertyListValue::Dictionary;
using Code = VeskUpdateInstallerError::Code;
using Keys = VeskUpdateFeedKeys;
using Progress = VeskAppBundleInstallerLaunchProgress;

/// The last question of an installation, which a window may still ask when the installation is over.
struct Consent {
  std::atomic<bool> isDeclined = false;
  /// Ends the installation and not the run.
  std::stop_source stopSource;

  void decline() {
    isDeclined = true;
    stopSource.request_stop();
  }
};

/// One installation, whichever way.
class Installation {
 public:
  Installation(const ApplicationSession& session, const Entry& entry, const std::string& identifier)
      : session_(session),
        entry_(entry),
        identifier_(identifier),
        version_(singleLineText(stringOrEmpty(entry, Keys::currentVersion))) {
    const auto& services = session_.services;
    launcher_ =
        std::make_shared<QuitAwaitingHelperLauncher>(services.helperLauncher(session_.application),
                                                     [this](const QuillonURL& bundle) { return waitForQuit(bundle); });
    const auto terminalWindows =
        std::make_shared<VeskUpdateTerminalProgressWindows>(services.terminal, services.monotonicTime);
    presenter_ = std::make_shared<const VeskUpdateProgressWindowPresenter>(
        std::make_shared<UpdateConsentWindows>(terminalWindows, services.terminal,
                                               session_.texts->text(VeskUpdateTexts::cancel),
                                               [consent = consent_] { consent->decline(); }),
        services.fileManager, session_.application.bundle, session_.texts);
  }

  /// False when the user has declined.
  [[nodiscard]] bool replaceApplication() {
    VeskUpdateAttempt attempt{.identifier = makeUUIDString(),
                              .fromVersion = session_.application.version,
                              .fromBuild = session_.application.build,
                              .toVersion = version_};
    // Before anything else: whatever happens to this process, the next run can tell that something did.
    const bool isNoted = session_.memory.setAttempt(attempt);
    try {
      install(makeRequest(isNoted ? std::optional(attempt.identifier) : std::nullopt));
    } catch (const VeskUpdateInstallerError& error) {
      if (!launcher_->mayHaveLaunched()) forgetAttempt();
      throw failure(error);
    } catch (const QuillonError&) {
      forgetAttempt();
      throw;
    } catch (const QuillonCancellationError&) {
      if (!launcher_->mayHaveLaunched()) forgetAttempt();
      if (!consent_->isDeclined) throw;
      return false;
    }
    return true;
  }

  /// False when nobody was there to be asked. No signature is checked before an installer document is opened, so
  /// somebody has to want that one.
  [[nodiscard]] bool openInstaller() {
    const VeskUpdateInstallerRequest request =
        VeskUpdateInstallerRequest::makeFromFeed(entry_, folders_.applicationFolderName());
    if (request.archiveURL && session_.services.answering != UpdateAnswering::byKeys) {
      session_.say("Version " + version_ +
                   " comes as an installer, whose signature nobody has checked: it is not opened unasked. Run the "
                   "command in a terminal without --yes, or download the installer and open it: " +
                   request.archiveURL->absoluteString());
      return false;
    }
    try {
      install(request);
    } catch (const VeskUpdateInstallerError& error) {
      throw failure(error);
    }
    return true;
  }

 private:
  [[nodiscard]] VeskAppBundleUpdateRequest makeRequest(const std::optional<std::string>& attemptIdentifier) const {
    const InstalledApplication& application = session_.application;
    VeskAppBundleUpdateHostIdentity identity;
    identity.bundleIdentifier = application.identifier;
    identity.applicationVersion = application.version;
    identity.applicationBuild = application.build;
    identity.expectedTeamIdentifier =
        signingTeam(application.bundle, *session_.services.processRunner, session_.services.codeSigningToolPath);
    return VeskAppBundleUpdateRequest::makeFromFeed(entry_, folders_.applicationFolderName(), application.bundle,
                                                    std::move(identity), application.installer(),
                                                    folders_.updateFolderName(), attemptIdentifier);
  }

  void install(const VeskUpdateInstallerRequest& request) {
    const std::shared_ptr<VeskUpdateProgressWindow> window = makeWindow();
    coordinator().install(request, window, consent_->stopSource.get_token());
  }
  void install(const VeskAppBundleUpdateRequest& request) {
    const std::shared_ptr<VeskUpdateProgressWindow> window = makeWindow();
    coordinator().install(
        request, window, [this](const Progress& progress) { report(progress); }, consent_->stopSource.get_token());
  }

  [[nodiscard]] VeskUpdateInstallerCoordinator coordinator() const {
    return session_.services.coordinator(launcher_, presenter_, session_.texts);
  }

  /// A window whose last reference ends on the main thread.
  [[nodiscard]] std::shared_ptr<VeskUpdateProgressWindow> makeWindow() const {
    const auto& mainThread = session_.services.mainThread;
    auto window = onMainThread(
        *mainThread,
        [this] {
          return presenter_->showProgressWindow(session_.texts->text(VeskUpdateTexts::downloadingUpdate), std::nullopt);
        },
        consent_->stopSource.get_token());
    auto* const shown = window.get();
    return {shown, [held = std::move(window), mainThread](VeskUpdateProgressWindow*) mutable {
              mainThread->post([last = std::move(held)]() mutable {
                last->close();
                last.reset();
              });
            }};
  }

  std::vector<ApplicationProcess> waitForQuit(const QuillonURL& bundle) const {
    const ApplicationQuitWait wait(session_.services.processes, session_.quitLimit(), session_.services.pause);
    return wait.wait(
        bundle, [](const ApplicationProcess&) { return true; },
        [this](const std::vector<ApplicationProcess>& processes) {
          session_.say(session_.application.name + " is still running. Waiting until it has quit: process " +
                       describe(processes));
        },
        consent_->stopSource.get_token());
  }

  void report(const Progress& progress) const {
    session_.services.logger->info([&] { return "launch: " + std::string(progress.caseName()); },
                                   ApplicationSession::logCategory);
    if (std::holds_alternative<Progress::AuthorizationRequired>(progress.value)) {
      session_.say("An administrator has to allow this update.");
    }
  }

  /// Nothing was handed to the installer.
  void forgetAttempt() const {
    session_.memory.setAttempt(std::nullopt);
    folders_.removeLeftovers(*session_.services.fileManager);
  }

  [[nodiscard]] UpdateFailure failure(const VeskUpdateInstallerError& error) const {
    const std::vector<ApplicationProcess> stayed = launcher_->processesThatStayed();
    if (!stayed.empty()) {
      return {"applicationRuns", session_.application.name + " did not quit: process " + describe(stayed) +
                                     ". Nothing was changed. Quit it and try again, or wait longer with --wait."};
    }
    if (error.code() == Code::authorizationDenied) session_.memory.setRefusedIdentifier(identifier_);
    const VeskUpdateAlert alert = alertOf(error.code());
    std::string text = alert.title + ": " + alert.body + " (" + error.description() + ")";
    if (const auto page = QuillonURL::parse(stringOrEmpty(entry_, Keys::url))) {
      text += " More about this update: " + page->absoluteString();
    }
    return {std::string(caseName(error.code())), std::move(text)};
  }

  [[nodiscard]] VeskUpdateAlert alertOf(Code code) const {
    const VeskUpdateAlertPresenter alerts(nullptr, nullptr);
    if (code == Code::authorizationCancelled) return alerts.makeUpdateCancelledAlert(*session_.texts);
    const auto phase = isDownloadFailure(code) ? VeskUpdateManualUpdateFailurePhase::download
                                               : VeskUpdateManualUpdateFailurePhase::installation;
    return alerts.makeManualUpdateAlert(*session_.texts, std::string(explanation(code)), phase);
  }

  const ApplicationSession& session_;
  const Entry& entry_;
  const std::string& identifier_;
  const std::string version_;
  const UpdateWorkingFolders folders_{session_.application};
  const std::shared_ptr<Consent> consent_ = std::make_shared<Consent>();
  const std::stop_callback<std::function<void()>> cancellation_{
      session_.stopSource.get_token(), [consent = consent_] { consent->stopSource.request_stop(); }};
  std::shared_ptr<QuitAwaitingHelperLauncher> launcher_;
  std::shared_ptr<const VeskUpdateProgressWindowPresenter> presenter_;
};

}  // namespace

void requireInstaller(const ApplicationSession& session) {
  const QuillonFileManaging& files = *session.services.fileManager;
  const InstalledApplication& application = session.application;
  const auto missing = [&](const QuillonURL& item) {
    return UpdateFailure("replacementHelperUnavailable",
                         application.name + " cannot replace itself: " + item.path() +
                             " is missing. Install a complete copy of the application by hand.");
  };
  if (!files.isExecutableFile(application.installer())) throw missing(application.installer());
  const QuillonURL service = application.launcherService(files);
  if (!files.directoryExists(service)) throw missing(service);
}

UpdateOutcome::Result installUpdate(const ApplicationSession& session, const Entry& entry,
                                    const std::string& identifier) {
  Installation installation(session, entry, identifier);
  if (VeskUpdatePromptPresenter::hasNonEmptyStringValue(entry, Keys::appBundleInstallerURL)) {
    requireInstaller(session);
    return installation.replaceApplication() ? UpdateOutcome::Result::launched : UpdateOutcome::Result::offered;
  }
  return installation.openInstaller() ? UpdateOutcome::Result::installerOpened : UpdateOutcome::Result::offered;
}

}  // namespace quillon
