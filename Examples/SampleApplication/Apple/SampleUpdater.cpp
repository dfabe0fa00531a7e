#include "SampleUpdater.h"

#include <cstdlib>
#include <exception>
#include <utility>
#include <variant>

#include "QuillonCore/Contracts/QuillonLogger.h"
#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Network/QuillonURLSessionNetworkClient.h"
#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Runtime/QuillonSystemClock.h"
#include "QuillonCore/Runtime/QuillonSystemLogging.h"
#include "QuillonCore/Runtime/QuillonTimerThread.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonSystemVersion.h"
#include "QuillonCore/Values/QuillonUUID.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceInfo.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCSystemServices.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCUpdateHelperLauncher.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateSystemInstallerCoordinator.h"
#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitAlertRunner.h"
#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitProgressWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitPromptWindows.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

using namespace quillon;

namespace {

constexpr const char* kCategory = "sample";
constexpr std::uint64_t kBeforeTheDialog = 15'000'000'000;  // nanoseconds
constexpr std::uint64_t kAfterTheDialog = 40'000'000'000;

bool openPage(const QuillonURL& page) {
  return makeSystemWorkspace()->open(page);
}

std::string textOf(const QuillonSystemVersion& version) {
  return std::to_string(version.major) + "." + std::to_string(version.minor) + "." + std::to_string(version.patch);
}

}  // namespace

SampleUpdater::SampleUpdater(QuillonURL bundle, QuillonURL feed, std::function<void()> quit)
    : bundle_(std::move(bundle)),
      feed_(std::move(feed)),
      quit_(std::move(quit)),
      log_(makeSystemLogger({.identifier = information("CFBundleIdentifier")})),
      texts_(makeSystemLocalizationBundle(bundle_)),
      progress_(std::make_shared<const VeskUpdateProgressWindowPresenter>(
          std::make_shared<VeskUpdateAppKitProgressWindows>(), files_, bundle_, texts_)),
      prompt_(std::make_shared<VeskUpdateAppKitPromptWindows>(), makeSystemWorkspace()),
      alerts_(openPage, std::make_shared<VeskUpdateAppKitAlertRunner>()) {}

void SampleUpdater::check() {
  if (std::exchange(isBusy_, true)) return;
  work([this](const std::stop_token& stopToken) {
    try {
      const std::optional<Entry> entry = findUpdate(stopToken);
      mainThread_->post([this, entry] { entry ? offer(*entry) : showNothingFound(true); });
    } catch (const QuillonError& error) {
      log_->error([&] { return error.description(); }, kCategory);
      mainThread_->post([this] { showNothingFound(false); });
    }
  });
}

std::string SampleUpdater::information(std::string_view key) const {
  return bundleInformationText(*files_, bundle_, key).value_or("");
}

std::optional<SampleUpdater::Entry> SampleUpdater::findUpdate(const std::stop_token& stopToken) const {
  const QuillonURLSessionNetworkClient client(makeSharedURLTransfers());
  const VeskUpdateFeed feed = VeskUpdateFeedParser().parseFeed(client.data({.url = feed_}, stopToken).body);
  VeskUpdateFeedApplicabilityContext applicability;
  applicability.appVersion = information("CFBundleShortVersionString");
  applicability.appBuild = std::strtoll(information("CFBundleVersion").c_str(), nullptr, 10);
  applicability.currentOSVersion = textOf(QuillonSystemVersion::running());
  applicability.canProcessUpdateFeeds = true;
  applicability.isManualCheck = true;
  applicability.now = QuillonSystemClock().now();
  VeskUpdateFeedDisplayContext display;
  display.appVersion = applicability.appVersion;
  display.canProcessUpdateFeeds = true;
  display.isManualCheck = true;
  display.now = applicability.now;
  const VeskUpdateFeedPipelineResult result = VeskUpdateFeedPipelineEvaluator().evaluate(
      feed, {}, applicability, display, VeskUpdateVersionComparison::compare);
  if (!result.selectedCandidate) return std::nullopt;
  const QuillonPropertyListValue value = result.selectedCandidate->feed.toValue();
  const auto* const entry = value.getIf<Entry>();
  return entry == nullptr ? std::nullopt : std::optional(*entry);
}

/// On a thread of its own, one after the other.
void SampleUpdater::work(std::function<void(std::stop_token)> function) {
  worker_ = std::jthread(std::move(function));
}

void SampleUpdater::offer(const Entry& entry) {
  VeskUpdatePromptInput input;
  input.feed = entry;
  input.isManualCheck = true;
  input.allowInstallAction = true;
  input.applicationName = information("CFBundleName");
  input.applicationVersion = information("CFBundleShortVersionString");
  input.applicationBuild = std::strtoll(information("CFBundleVersion").c_str(), nullptr, 10);
  input.applicationLogoImageName = "NSApplicationIcon";
  input.localizationBundle = texts_;
  prompt_.present(input, [this](const VeskUpdatePromptAction& action) {
    const auto* const chosen = std::get_if<VeskUpdatePromptAction::Install>(&action.value);
    isBusy_ = chosen != nullptr;
    if (chosen != nullptr) mainThread_->post([this, feed = chosen->feed] { install(feed); });
  });
}

void SampleUpdater::install(const Entry& entry) {
  const auto request = VeskAppBundleUpdateRequest::makeFromFeed(
      entry, information("CFBundleName"), bundle_,
      {.bundleIdentifier = information("CFBundleIdentifier"),
       .applicationVersion = information("CFBundleShortVersionString"),
       .applicationBuild = std::strtoll(information("CFBundleVersion").c_str(), nullptr, 10),
       .expectedTeamIdentifier = std::nullopt},
      bundle_.appendingPathComponent("Contents/MacOS/QuillonUpdateInstaller"), "Updates", makeUUIDString());
  window_ = progress_->showProgressWindow(texts_->text(VeskUpdateTexts::downloadingUpdate), std::nullopt);
  work([this, request, window = window_](const std::stop_token& stopToken) mutable {
    std::string failure;
    try {
      replace(request, std::move(window), stopToken);
    } catch (const std::exception& error) {
      failure = error.what();
    }
    mainThread_->post([this, failure] { finish(failure); });
  });
}

void SampleUpdater::replace(const VeskAppBundleUpdateRequest& request, std::shared_ptr<VeskUpdateProgressWindow> window,
                            const std::stop_token& stopToken) const {
  auto launcher = std::make_shared<VeskAppBundleXPCUpdateHelperLauncher>(
      makeSystemInstallerLauncherServiceConnectionFactory(bundle_),
      VeskAppBundleInstallerLauncherServiceInfo::currentHostServiceName(*files_, bundle_), kBeforeTheDialog,
      kAfterTheDialog, std::make_shared<QuillonTimerThread>());
  makeSystemInstallerCoordinator(std::move(launcher), mainThread_, progress_, texts_, files_)
      .install(
          request, std::move(window),
          [this](const VeskAppBundleInstallerLaunchProgress& progress) {
            log_->info([&] { return std::string(progress.caseName()); }, kCategory);
          },
          stopToken);
}

void SampleUpdater::finish(const std::string& failure) {
  isBusy_ = false;
  progress_->hideProgressWindow(std::exchange(window_, nullptr));
  if (failure.empty()) return quit_();
  log_->error([&] { return failure; }, kCategory);
  alerts_.presentInstallationFailedAlert(*texts_, std::nullopt);
}

void SampleUpdater::showNothingFound(bool didCheck) {
  isBusy_ = false;
  static_cast<void>(alerts_.presentManualCheckCompletionAlert({.shouldShowNoUpdatesFoundDialog = true,
                                                               .updateCheckPerformedOK = didCheck,
                                                               .applicationName = information("CFBundleName"),
                                                               .shouldOfferBetaToggle = false,
                                                               .betaToggleEnabled = false,
                                                               .localizationBundle = texts_}));
}
