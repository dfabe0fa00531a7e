#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "HostInformation.h"
#include "QuillonCore/Contracts/QuillonLogger.h"
#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"
#include "QuillonCore/Contracts/QuillonNetworkClient.h"
#include "QuillonCore/Contracts/QuillonTimerScheduling.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerCoordinator.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlert.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlertPresenter.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowMaking.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowPresenter.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"
#include "QuillonUpdatesCore/VeskUpdateMemory.h"

namespace sample {

/// The windows of a toolkit, and the thread that they live on.
struct UpdateWindows {
  std::shared_ptr<quillon::QuillonMainThreadDispatching> mainThread;
  std::shared_ptr<quillon::VeskUpdateProgressWindowMaking> progressWindows;
  std::shared_ptr<quillon::VeskUpdatePromptWindowMaking> prompts;
  std::shared_ptr<quillon::VeskUpdateAlertRunning> alerts;
  /// What the toolkit shows beside an offer, in its own words.
  std::string logoImageName;
};

/// What an updater wants of its application. Called on the main thread.
struct UpdateCallbacks {
  /// Ends the application: the installer waits for that. One that asks about unsaved documents first may take its time.
  std::function<void()> quit;
  /// The user has chosen in an alert.
  std::function<void(bool checksForBetas)> checksForBetasDidChange;
};

/// Keeps an application up to date: looks for updates by itself and when it is asked to, offers them, installs them,
/// and explains what failed. One thing at a time:
///
///   idle → checking → offering → installing → quitting
///
/// and from each but the last back to idle when there is nothing to do, the user does not want to, or something fails.
///
/// Knows no toolkit: with the windows of another platform, or those of a terminal, it is the same. Lives on the main
/// thread; what blocks runs on a thread of its own, which the destructor stops. Made with std::make_shared, so that
/// what comes late finds out that it is gone.
class SampleUpdater : public std::enable_shared_from_this<SampleUpdater> {
 public:
  SampleUpdater(HostInformation host, UpdateWindows windows, UpdateCallbacks callbacks);

  /// Call this once the application is on the screen. Explains an update that failed after the last run had quit for
  /// it, and begins to look for updates.
  void start();

  /// The menu item "Check for Updates…": always ends with a window, whatever it finds.
  void checkForUpdates();

  /// The preference for beta versions.
  [[nodiscard]] bool checksForBetas() const { return memory_->checksForBetas(); }
  void setChecksForBetas(bool checksForBetas) { memory_->setChecksForBetas(checksForBetas); }

 private:
  enum class State { idle, checking, offering, installing, quitting };

  void becomeIdle(std::chrono::nanoseconds untilNextLook);
  /// The same after a check, an offer or an installation: whatever settings and clocks say, no feed is asked twice in a
  /// row.
  void rest();
  [[nodiscard]] std::chrono::nanoseconds timeUntilNextCheck() const;
  void checkIfDue();

  void beginCheck(bool isManualCheck);
  void didLoad(const quillon::VeskUpdateFeed& feed);
  void didFailToLoad(const std::exception_ptr& failure);
  void tellThatNothingWasFound(bool wasCheckPerformed);
  void tellThatItHasToQuit();

  void offer(const quillon::VeskUpdateFeedEntry& entry, const std::string& identifier);
  void didChoose(const quillon::VeskUpdatePromptAction& action);

  void install(const quillon::QuillonPropertyListValue::Dictionary& entry);
  [[nodiscard]] std::shared_ptr<const quillon::VeskUpdateInstallerCoordinator> makeCoordinator(
      const quillon::VeskUpdateAttempt& attempt) const;
  void didEndInstallation(const std::exception_ptr& failure);

  void explainLastAttempt();
  void explain(const std::exception_ptr& failure);
  void explainInstallationFailure(const std::optional<std::string>& description);

  /// What runs a function on the main thread, with this object if it is still there by then. May be called from any
  /// thread.
  [[nodiscard]] std::function<void(std::function<void(SampleUpdater&)>)> laterOnMainThread();

  const HostInformation host_;
  const UpdateWindows windows_;
  const UpdateCallbacks callbacks_;

  const std::shared_ptr<quillon::QuillonFileManaging> files_;
  const std::shared_ptr<const quillon::QuillonNetworkClient> networkClient_;
  const std::shared_ptr<quillon::QuillonTimerScheduling> timers_;
  const std::shared_ptr<quillon::QuillonLogger> logger_;
  const std::shared_ptr<const quillon::VeskUpdateLocalizationBundle> texts_;
  const std::shared_ptr<const quillon::VeskUpdateProgressWindowPresenter> progress_;
  const std::shared_ptr<quillon::VeskAppBundleUpdateHelperLaunching> launcher_;
  const quillon::VeskUpdateAlertPresenter alerts_;
  quillon::VeskUpdatePromptPresenter prompt_;

  const std::shared_ptr<quillon::VeskUpdateMemory> memory_;
  State state_ = State::idle;
  bool isManualCheck_ = false;
  /// Identifier of the entry that was last offered.
  std::string offeredEntry_;
  std::shared_ptr<quillon::VeskUpdateProgressWindow> progressWindow_;
  std::unique_ptr<quillon::QuillonTimer> nextLook_;
  std::jthread work_;  // the last one: it ends before what it uses
};

}  // namespace sample
