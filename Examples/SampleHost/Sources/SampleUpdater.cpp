#include "SampleUpdater.h"

#include <algorithm>
#include <utility>
#include <variant>
#include <vector>

#include "AttemptNotingLauncher.h"
#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Network/QuillonURLSessionNetworkClient.h"
#include "QuillonCore/Runtime/QuillonSystemClock.h"
#include "QuillonCore/Runtime/QuillonSystemLogging.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Runtime/QuillonTimerThread.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonUUID.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReportStore.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateSystemInstallerCoordinator.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplier.h"
#include "UpdateDecision.h"
#include "UpdateFailureExplanation.h"
#include "UpdateFeedLoading.h"
#include "UpdateLauncher.h"
#include "UpdateWorkingFolder.h"

namespace sample {
namespace {

using namespace quillon;

/// Until a check that failed is tried again, and at least between two that nobody asks for.
constexpr std::chrono::minutes kShortestRest{30};
/// Timers stand still while a machine sleeps, the clock does not: it is looked at from time to time.
constexpr std::chrono::hours kLongestTimer{1};
constexpr std::string_view kLogCategory = "updates";

QuillonDate now() {
  return QuillonSystemClock().now();
}

/// An error thrown by what `function` runs, if it throws one.
std::exception_ptr failureOf(const std::function<void()>& function) noexcept {
  try {
    function();
    return nullptr;
  } catch (...) {
    return std::current_exception();
  }
}

std::string descriptionOf(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const std::exception& error) {
    return error.what();
  }
}

}  // namespace

SampleUpdater::SampleUpdater(HostInformation host, UpdateWindows windows, UpdateCallbacks callbacks)
    : host_(std::move(host)),
      windows_(std::move(windows)),
      callbacks_(std::move(callbacks)),
      files_(makeSystemFileManager()),
      networkClient_(std::make_shared<QuillonURLSessionNetworkClient>(makeSharedURLTransfers())),
      timers_(std::make_shared<QuillonTimerThread>()),
      logger_(makeSystemLogger({.identifier = host_.identifier})),
      texts_(makeSystemLocalizationBundle(host_.bundle)),
      progress_(
          std::make_shared<VeskUpdateProgressWindowPresenter>(windows_.progressWindows, files_, host_.bundle, texts_)),
      launcher_(makeUpdateLauncher(*files_, host_.bundle, timers_)),
      alerts_([](const QuillonURL& url) { return makeSystemWorkspace()->open(url); }, windows_.alerts),
      prompt_(windows_.prompts, makeSystemWorkspace()),
      memory_(std::make_shared<VeskUpdateMemory>(makeSystemUserDefaults(host_.identifier), logger_)) {}

void SampleUpdater::start() {
  explainLastAttempt();
  // While an alert was on the screen the user may have begun something, which ends by itself.
  if (state_ == State::idle) becomeIdle(timeUntilNextCheck());
}

// Looking by itself

void SampleUpdater::becomeIdle(std::chrono::nanoseconds untilNextLook) {
  state_ = State::idle;
  const auto time = std::min<std::chrono::nanoseconds>(untilNextLook, kLongestTimer);
  nextLook_ = timers_->schedule(static_cast<std::uint64_t>(time.count()), [later = laterOnMainThread()] {
    later([](SampleUpdater& self) { self.checkIfDue(); });
  });
}

void SampleUpdater::rest() {
  becomeIdle(std::max<std::chrono::nanoseconds>(timeUntilNextCheck(), kShortestRest));
}

std::chrono::nanoseconds SampleUpdater::timeUntilNextCheck() const {
  const QuillonDate time = now();
  return memory_->nextCheck(time).value_or(time) - time;
}

void SampleUpdater::checkIfDue() {
  if (state_ != State::idle) return;  // becomes idle some time, and looks again then
  if (memory_->nextCheck(now())) return becomeIdle(timeUntilNextCheck());
  beginCheck(false);
}

// Checking

void SampleUpdater::checkForUpdates() {
  if (state_ == State::idle) return beginCheck(true);
  if (state_ == State::checking) isManualCheck_ = true;  // the answer is the user's
  if (state_ == State::quitting) tellThatItHasToQuit();
  // Otherwise a window of an update is on the screen, which is the answer.
}

void SampleUpdater::beginCheck(bool isManualCheck) {
  state_ = State::checking;
  isManualCheck_ = isManualCheck;
  work_ = std::jthread(
      [client = networkClient_, url = host_.feed, later = laterOnMainThread()](const std::stop_token& stopToken) {
        std::shared_ptr<const VeskUpdateFeed> feed;
        const std::exception_ptr failure =
            failureOf([&] { feed = std::make_shared<const VeskUpdateFeed>(loadUpdateFeed(*client, url, stopToken)); });
        later([feed, failure](SampleUpdater& self) {
          if (failure) return self.didFailToLoad(failure);
          self.didLoad(*feed);
        });
      });
}

void SampleUpdater::didLoad(const VeskUpdateFeed& feed) {
  const auto decision = decideOnUpdate(feed, host_, *memory_, isManualCheck_, now());
  const auto& candidate = decision.selectedCandidate;
  const std::string identifier = candidate ? candidate->display.resolvedFeedIdentifier.value_or("") : "";
  const bool isHeldBack = candidate && !isManualCheck_ && memory_->isDeclined(*candidate, host_.version);
  const auto result = VeskUpdateFeedPipelineApplier().apply(
      {.pipelineResult = decision,
       .canProcessUpdateFeeds = true,
       .shouldConfirmNoUpdatesDialog = isManualCheck_,
       .shouldSetSleepInterval = true,
       .existingNewsDictionary = memory_->shownIdentifiers(),
       .feedTypeKey = std::string(VeskUpdateFeedKeys::updateType),
       .defaultRefetchIntervalSeconds = VeskUpdateMemory::defaultRefetchIntervalSeconds,
       .minimumRefetchIntervalSeconds = VeskUpdateMemory::minimumRefetchIntervalSeconds},
      [&](const VeskUpdateFeedEntry& entry) {
        if (isHeldBack) return false;
        offer(entry, identifier);
        return true;
      });
  memory_->rememberCheck(result, now());
  if (state_ == State::offering) return;
  if (isManualCheck_) tellThatNothingWasFound(result.shouldMarkUpdateCheckPerformedOK);
  rest();
}

void SampleUpdater::didFailToLoad(const std::exception_ptr& failure) {
  logger_->warn([&] { return "The feed cannot be loaded: " + descriptionOf(failure); }, kLogCategory);
  if (isManualCheck_) {
    if (meansOffline(failure)) {
      alerts_.presentUnableToCheckForUpdatesAlert(true, *texts_);
    } else {
      tellThatNothingWasFound(false);
    }
  }
  rest();
}

void SampleUpdater::tellThatNothingWasFound(bool wasCheckPerformed) {
  const auto answer = alerts_.presentManualCheckCompletionAlert({.shouldShowNoUpdatesFoundDialog = true,
                                                                 .updateCheckPerformedOK = wasCheckPerformed,
                                                                 .applicationName = host_.name,
                                                                 .shouldOfferBetaToggle = true,
                                                                 .betaToggleEnabled = memory_->checksForBetas(),
                                                                 .localizationBundle = texts_});
  if (!answer.selectedBetaToggleState) return;
  memory_->setChecksForBetas(*answer.selectedBetaToggleState);
  callbacks_.checksForBetasDidChange(*answer.selectedBetaToggleState);
}

void SampleUpdater::tellThatItHasToQuit() {
  static_cast<void>(windows_.alerts->run({.style = VeskUpdateAlertStyle::informational,
                                          .title = texts_->applicationText("The update is installed on quitting."),
                                          .body = {},
                                          .buttons = {},
                                          .defaultButtonTitle = texts_->text(VeskUpdateTexts::ok),
                                          .suppressionCheckbox = {}}));
}

// Offering

void SampleUpdater::offer(const VeskUpdateFeedEntry& entry, const std::string& identifier) {
  const QuillonPropertyListValue value = entry.toValue();
  VeskUpdatePromptInput input;
  input.feed = *value.getIf<QuillonPropertyListValue::Dictionary>();
  input.isManualCheck = isManualCheck_;
  input.allowInstallAction = true;
  input.applicationName = host_.name;
  input.applicationVersion = host_.version;
  input.applicationBuild = host_.build;
  input.applicationLogoImageName = windows_.logoImageName;
  input.localizationBundle = texts_;
  // Later, because the prompt is in the middle of closing when it calls.
  prompt_.present(input, [later = laterOnMainThread()](const VeskUpdatePromptAction& action) {
    later([action](SampleUpdater& self) { self.didChoose(action); });
  });
  offeredEntry_ = identifier;
  state_ = State::offering;
}

void SampleUpdater::didChoose(const VeskUpdatePromptAction& action) {
  if (const auto* const chosen = std::get_if<VeskUpdatePromptAction::Install>(&action.value)) {
    return install(chosen->feed);
  }
  if (std::holds_alternative<VeskUpdatePromptAction::Dismissed>(action.value)) {
    memory_->setSkippedIdentifier(offeredEntry_);
  }
  memory_->setLastShown(now());  // the reminder delay counts from the answer
  rest();
}

// Installing

void SampleUpdater::install(const QuillonPropertyListValue::Dictionary& entry) {
  state_ = State::installing;
  memory_->setSkippedIdentifier(std::nullopt);
  memory_->setRefusedIdentifier(std::nullopt);
  const VeskUpdateAttempt attempt{.identifier = makeUUIDString(),
                                  .fromVersion = host_.version,
                                  .fromBuild = host_.build,
                                  .toVersion = stringOrEmpty(entry, VeskUpdateFeedKeys::currentVersion)};
  const auto request = VeskAppBundleUpdateRequest::makeFromFeed(
      entry, host_.folderName(), host_.bundle, host_.identity(),
      host_.bundle.appendingPathComponent("Contents/MacOS/QuillonUpdateInstaller"),
      std::string(kUpdateWorkingFolderName), attempt.identifier);
  progressWindow_ = progress_->showProgressWindow("", std::nullopt);
  const auto log = [logger = logger_](const VeskAppBundleInstallerLaunchProgress& progress) {
    logger->info([&] { return std::string(progress.caseName()); }, kLogCategory);
  };
  work_ = std::jthread([coordinator = makeCoordinator(attempt), request, window = progressWindow_, log,
                        later = laterOnMainThread()](const std::stop_token& stopToken) mutable {
    const std::exception_ptr failure =
        failureOf([&] { coordinator->install(request, std::exchange(window, nullptr), log, stopToken); });
    later([failure](SampleUpdater& self) { self.didEndInstallation(failure); });
  });
}

std::shared_ptr<const VeskUpdateInstallerCoordinator> SampleUpdater::makeCoordinator(
    const VeskUpdateAttempt& attempt) const {
  return std::make_shared<const VeskUpdateInstallerCoordinator>(
      makeSystemInstallerCoordinator(std::make_shared<AttemptNotingLauncher>(launcher_, memory_, attempt),
                                     windows_.mainThread, progress_, texts_, files_));
}

void SampleUpdater::didEndInstallation(const std::exception_ptr& failure) {
  progress_->hideProgressWindow(std::exchange(progressWindow_, nullptr));
  if (!failure) {
    // The installer waits for the end of this process, which may keep unsaved documents open. Until then nothing else
    // is begun.
    state_ = State::quitting;
    return callbacks_.quit();
  }
  explain(failure);
  rest();
}

// Explaining

void SampleUpdater::explainLastAttempt() {
  const auto attempt = memory_->attempt();
  memory_->setAttempt(std::nullopt);
  const auto preferred = attempt ? std::optional(attempt->identifier) : std::nullopt;
  const auto report = VeskAppBundleUpdateFailureReportStore(files_).consumeFailureReport(host_.identifier, preferred);
  const bool isUnchanged = attempt && attempt->fromVersion == host_.version && attempt->fromBuild == host_.build;
  // An installer may still be at work where nothing tells that it is done. What it works on is removed at a later
  // start.
  if (report || !isUnchanged) removeUpdateWorkingFolder(*files_, host_.folderName());
  if (report) {
    logger_->error([&] { return "The last update failed: " + report->errorDescription; }, kLogCategory);
    return explainInstallationFailure(report->errorDescription);
  }
  // An installer that was killed leaves no report.
  if (isUnchanged) {
    logger_->error([] { return "The last update did not take place."; }, kLogCategory);
    explainInstallationFailure(std::nullopt);
  }
}

void SampleUpdater::explain(const std::exception_ptr& failure) {
  using Code = VeskUpdateInstallerError::Code;
  try {
    std::rethrow_exception(failure);
  } catch (const QuillonCancellationError&) {  // by the end of this object
  } catch (const VeskUpdateInstallerError& error) {
    logger_->error([&] { return "The update failed: " + error.description(); }, kLogCategory);
    // Who knows no administrator would be asked for one again and again.
    if (error.code() == Code::authorizationDenied) memory_->setRefusedIdentifier(offeredEntry_);
    if (error.code() == Code::authorizationCancelled) return alerts_.presentUpdateCancelledAlert(*texts_);
    if (error.code() == Code::downloadFailed || error.code() == Code::missingArchiveURL) {
      if (!host_.downloadPage) return alerts_.presentDownloadFailedAlert(*texts_, std::nullopt);
      return alerts_.presentManualUpdateAlert(*texts_, std::nullopt, *host_.downloadPage,
                                              VeskUpdateManualUpdateFailurePhase::download);
    }
    explainInstallationFailure(error.description());
  } catch (const std::exception& error) {
    logger_->error([&] { return std::string("The update failed: ") + error.what(); }, kLogCategory);
    explainInstallationFailure(std::nullopt);
  }
}

void SampleUpdater::explainInstallationFailure(const std::optional<std::string>& description) {
  auto text = description ? explanationOfUpdateFailure(*description) : std::nullopt;
  if (text) text = texts_->applicationText(*text);
  if (!host_.downloadPage) return alerts_.presentInstallationFailedAlert(*texts_, text);
  alerts_.presentManualUpdateAlert(*texts_, text, *host_.downloadPage,
                                   VeskUpdateManualUpdateFailurePhase::installation);
}

std::function<void(std::function<void(SampleUpdater&)>)> SampleUpdater::laterOnMainThread() {
  return [weak = weak_from_this(), mainThread = windows_.mainThread](std::function<void(SampleUpdater&)> function) {
    mainThread->post([weak, function = std::move(function)] {
      if (const auto self = weak.lock()) function(*self);
    });
  };
}

}  // namespace sample
