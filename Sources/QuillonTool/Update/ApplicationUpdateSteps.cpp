#include "QuillonTool/Update/ApplicationUpdateSteps.h"

#include <exception>
#include <functional>
#include <utility>
#include <variant>
#include <vector>

#include "QuillonCore/Runtime/QuillonMainThreadCall.h"
#include "QuillonCore/Text/CountedNoun.h"
#include "QuillonCore/Text/QuillonPlainText.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/Update/ApplicationQuitWait.h"
#include "QuillonTool/Update/FeedDownload.h"
#include "QuillonTool/Update/PreviousAttempt.h"
#include "QuillonTool/Update/ReleaseNotes.h"
#include "QuillonTool/Update/UpdateFailure.h"
#include "QuillonTool/Update/UpdateInstallation.h"
#include "QuillonTool/Update/UpdateOfferPrompt.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementBackup.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlertPresenter.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplier.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

namespace quillon {
namespace {

using Action = VeskUpdatePromptAction;
using Dictionary = QuillonPropertyListValue::Dictionary;
using Keys = VeskUpdateFeedKeys;
using Outcome = UpdateOutcome;

constexpr std::string_view kLockFile = "quillon-update.lock";

Dictionary dictionaryOf(const VeskUpdateFeedEntry& entry) {
  const QuillonPropertyListValue value = entry.toValue();
  const auto* const dictionary = value.getIf<Dictionary>();
  return dictionary == nullptr ? Dictionary() : *dictionary;
}

/// In texts for people no line begins with the feed's words.
Outcome::Offer offerOf(const VeskUpdateFeedProcessingCandidate& candidate) {
  return {.identifier = candidate.display.resolvedFeedIdentifier.value_or(""),
          .version = singleLineText(stringOrEmpty(candidate.feed, Keys::currentVersion)),
          .build = singleLineText(stringOrEmpty(candidate.feed, Keys::currentBuild)),
          .title = singleLineText(stringOrEmpty(candidate.feed, Keys::title)),
          .isBeta = candidate.applicability.isBetaUpdate};
}

VeskUpdateFeedPipelineResult evaluate(const VeskUpdateFeed& feed, const FeedCheckContext& context) {
  return VeskUpdateFeedPipelineEvaluator().evaluate(feed, {}, context.applicability, context.display,
                                                    VeskUpdateVersionComparison::compare);
}

bool isOffer(const std::optional<VeskUpdateFeedProcessingCandidate>& candidate) {
  return candidate && candidate->display.shouldDisplayNow;
}

}  // namespace

ApplicationUpdateSteps::ApplicationUpdateSteps(const UpdateOptions& options, const ApplicationUpdateServices& services,
                                               std::stop_source stopSource)
    : session_{options, services, std::move(stopSource)} {}

UpdateOutcome ApplicationUpdateSteps::run() noexcept {
  try {
    proceed();
  } catch (const QuillonCancellationError&) {
    outcome_.result = Outcome::Result::cancelled;
  } catch (const UpdateFailure& failure) {
    fail(failure.code(), failure.description());
  } catch (const std::exception& error) {
    fail("systemError", error.what());
  }
  return std::move(outcome_);
}

void ApplicationUpdateSteps::fail(std::string code, std::string message) {
  outcome_.result = Outcome::Result::failed;
  session_.services.logger->error([&] { return code + ": " + message; }, UpdateSession::logCategory);
  outcome_.error = Outcome::Error{.code = std::move(code), .message = std::move(message)};
}

void ApplicationUpdateSteps::proceed() {
  const QuillonURL bundle = bundleLocation();
  waitForInstaller(bundle);
  // Who only looks leaves everything to whoever updates: what the last attempt came to, too.
  const bool onlyLooks = session_.options.onlyChecks;
  if (!onlyLooks) recoverBundle(bundle);
  const InstalledApplication application =
      InstalledApplication::read(*session_.services.fileManager, session_.options.bundle);
  outcome_.identifier = application.identifier;
  outcome_.version = application.version;
  outcome_.build = application.build;
  const std::unique_ptr<QuillonFileLock> held = onlyLooks ? nullptr : lock(application);
  VeskUpdateMemory memory(session_.services.settings(application.identifier), session_.services.logger);
  const ApplicationSession session{
      session_, application, memory,
      std::make_shared<const VeskUpdateLocalizationBundle>(session_.services.fileManager, application.bundle,
                                                           session_.services.environment.languages)};
  if (session_.options.betaPreference) memory.setChecksForBetas(*session_.options.betaPreference);
  if (!onlyLooks) outcome_.previousFailure = settlePreviousAttempt(session);
  check(session);
}

/// The bundle's own location also where the bundle is missing, as in the middle of a replacement.
QuillonURL ApplicationUpdateSteps::bundleLocation() const {
  const QuillonFileManaging& files = *session_.services.fileManager;
  const QuillonURL& bundle = session_.options.bundle;
  if (files.directoryExists(bundle)) return files.resolvingSymbolicLinks(bundle);
  const QuillonURL folder = bundle.deletingLastPathComponent();
  if (!files.directoryExists(folder)) return bundle;
  return files.resolvingSymbolicLinks(folder).appendingPathComponent(bundle.lastPathComponent());
}

void ApplicationUpdateSteps::waitForInstaller(const QuillonURL& bundle) const {
  const ApplicationQuitWait wait(session_.services.processes, session_.quitLimit(), session_.services.pause);
  const std::vector<ApplicationProcess> working = wait.wait(
      bundle, [](const ApplicationProcess& process) { return process.isInstaller; },
      [this](const std::vector<ApplicationProcess>& processes) {
        session_.say("An update of this application is being installed. Waiting until it is done: process " +
                     describe(processes));
      },
      session_.stopSource.get_token());
  if (working.empty()) return;
  throw UpdateFailure("installerRuns", "An update of " + bundle.path() + " is being installed: process " +
                                           describe(working) + ". Try again when it is done.");
}

void ApplicationUpdateSteps::recoverBundle(const QuillonURL& bundle) const {
  const QuillonFileManaging& files = *session_.services.fileManager;
  if (files.directoryExists(bundle)) return;
  VeskAppBundleReplacementBackup::recoverInterruptedReplacement(files, bundle, [this](std::string_view line) {
    session_.services.logger->warn([line] { return std::string(line); }, UpdateSession::logCategory);
  });
  if (files.directoryExists(bundle)) session_.say("The version from before an interrupted update was put back.");
}

/// Null where nothing can be locked: a home folder that cannot be written keeps nobody from being updated.
std::unique_ptr<QuillonFileLock> ApplicationUpdateSteps::lock(const InstalledApplication& application) const {
  const QuillonFileManaging& files = *session_.services.fileManager;
  try {
    const std::vector<QuillonURL> folders = files.applicationSupportDirectories();
    if (folders.empty()) return nullptr;
    const QuillonURL folder = folders.front().appendingPathComponent(application.identifier);
    files.createDirectory(folder);
    std::unique_ptr<QuillonFileLock> held = QuillonFileLock::ifFree(folder.appendingPathComponent(kLockFile));
    if (held) return held;
  } catch (const QuillonSystemError& error) {
    session_.services.logger->warn([&] { return error.description(); }, UpdateSession::logCategory);
    return nullptr;
  }
  throw UpdateFailure("alreadyRunning",
                      "Another 'quillon update' of " + application.name + " is under way. Wait for it, or end it.");
}

void ApplicationUpdateSteps::check(const ApplicationSession& session) {
  const QuillonDate now = session.services.clock->now();
  outcome_.nextCheck = session.memory.nextCheck(now);
  if (session.options.isScheduled && outcome_.nextCheck) {
    outcome_.result = Outcome::Result::notDue;
    session.say("The next check for updates of " + session.application.name + " is due at " +
                dateText(outcome_.nextCheck).value_or("a later time") + ".");
    return;
  }
  const QuillonURL location = feedLocation(session.application);
  session.services.logger->info([&] { return "loading the feed " + location.absoluteString(); },
                                UpdateSession::logCategory);
  VeskUpdateFeed feed = [&] {
    try {
      return downloadFeed(*session.services.network, location, session.stopSource.get_token());
    } catch (const UpdateFailure& failure) {
      const VeskUpdateText& title =
          failure.code() == "offline" ? VeskUpdateTexts::unableToCheckOffline : VeskUpdateTexts::unableToCheck;
      throw UpdateFailure(failure.code(), session.texts->text(title) + ": " + failure.description());
    }
  }();
  apply(session, feed, now);
  outcome_.nextCheck = session.memory.nextCheck(now);
}

QuillonURL ApplicationUpdateSteps::feedLocation(const InstalledApplication& application) const {
  if (session_.options.feed) return *session_.options.feed;
  if (application.feed) return *application.feed;
  throw UpdateFailure("noFeedURL", application.bundle.path() + " does not say where its feed is: it has no " +
                                       std::string(InstalledApplication::feedURLKey) +
                                       " in Contents/Info.plist. Name the feed with --feed.");
}

void ApplicationUpdateSteps::apply(const ApplicationSession& session, const VeskUpdateFeed& feed, QuillonDate now) {
  FeedCheckContext context =
      makeFeedCheckContext(session.application, session.memory, session.options, session.services.environment, now);
  const VeskUpdateFeedPipelineResult result = evaluate(feed, context);
  const auto& candidate = result.selectedCandidate;
  const bool isDeclined = isOffer(candidate) && session.options.isScheduled &&
                          session.memory.isDeclined(*candidate, session.application.version);
  if (!isOffer(candidate) || isDeclined) {
    remember(result, session, now, [](const Entry&) { return false; });
    if (isDeclined) return withhold(session, *candidate, "It was skipped, or no administrator allowed it");
    context.display.lastNewsDisplayedDate.reset();
    const auto later = evaluate(feed, context).selectedCandidate;
    if (!isOffer(later)) return sayThereIsNone(session);
    return withhold(
        session, *later,
        "It was offered less than " + countedNoun(context.display.checkUpdatesAfterHours, "hour", "hours") + " ago");
  }
  outcome_.offer = offerOf(*candidate);
  outcome_.result = Outcome::Result::offered;
  if (session.options.onlyChecks) {  // does not count: a scheduled run has yet to offer it
    session.say(session.application.name + " " + outcome_.offer->version + " is available; version " +
                session.application.version + " is installed.");
    return;
  }
  offer(session, result, now);
}

/// Stores what the check has found, and whether it was shown.
void ApplicationUpdateSteps::remember(const VeskUpdateFeedPipelineResult& result, const ApplicationSession& session,
                                      QuillonDate now, const std::function<bool(const Entry&)>& show) const {
  const VeskUpdateFeedPipelineApplicationInput input{
      .pipelineResult = result,
      .canProcessUpdateFeeds = true,
      .shouldConfirmNoUpdatesDialog = !session.options.isScheduled,
      .shouldSetSleepInterval = true,
      .existingNewsDictionary = session.memory.shownIdentifiers(),
      .feedTypeKey = std::string(Keys::updateType),
      .defaultRefetchIntervalSeconds = VeskUpdateMemory::defaultRefetchIntervalSeconds,
      .minimumRefetchIntervalSeconds = VeskUpdateMemory::minimumRefetchIntervalSeconds};
  const VeskUpdateFeedPipelineApplicationResult applied = onMainThread(
      *session.services.mainThread,
      [&] {
        return VeskUpdateFeedPipelineApplier().apply(
            input, [&show](const VeskUpdateFeedEntry& entry) { return show(dictionaryOf(entry)); });
      },
      session.stopSource.get_token());
  session.memory.rememberCheck(applied, now);
}

void ApplicationUpdateSteps::offer(const ApplicationSession& session, const VeskUpdateFeedPipelineResult& result,
                                   QuillonDate now) {
  const Entry entry = dictionaryOf(result.selectedCandidate->feed);
  std::optional<std::string> notes;
  if (const auto page = QuillonURL::parse(stringOrEmpty(entry, Keys::url))) {
    notes = ReleaseNotes::load(*session.services.network, *page, session.stopSource.get_token());
  }
  UpdateOfferPrompt prompt(session, std::move(notes));
  remember(result, session, now, [&prompt](const Entry& shown) {
    prompt.present(shown);
    return true;
  });
  const Action action = prompt.waitForAction();
  const std::string& identifier = outcome_.offer->identifier;
  if (std::holds_alternative<Action::Install>(action.value)) {
    session.memory.setSkippedIdentifier(std::nullopt);
    session.memory.setRefusedIdentifier(std::nullopt);
    outcome_.result = installUpdate(session, entry, identifier);
    if (outcome_.result == Outcome::Result::launched) {
      session.say("The installer takes over: it puts version " + outcome_.offer->version + " in the place of " +
                  session.application.version + " and starts " + session.application.name + ".");
    }
    if (outcome_.result == Outcome::Result::offered) session.say("Nothing was installed.");
    return;
  }
  if (std::holds_alternative<Action::Dismissed>(action.value)) session.memory.setSkippedIdentifier(identifier);
  session.say(session.services.answering == UpdateAnswering::byNobody
                  ? "Nothing was installed: there is nobody to ask. Write --yes to install without questions."
                  : "Nothing was installed.");
}

void ApplicationUpdateSteps::withhold(const ApplicationSession& session,
                                      const VeskUpdateFeedProcessingCandidate& candidate, const std::string& reason) {
  outcome_.result = Outcome::Result::withheld;
  outcome_.offer = offerOf(candidate);
  session.say("Version " + outcome_.offer->version + " of " + session.application.name + " is available. " + reason +
              "; run the command without --scheduled to be offered it again.");
}

void ApplicationUpdateSteps::sayThereIsNone(const ApplicationSession& session) {
  outcome_.result = Outcome::Result::upToDate;
  const auto alert = VeskUpdateAlertPresenter(nullptr, nullptr)
                         .makeManualCheckCompletionAlert({.shouldShowNoUpdatesFoundDialog = true,
                                                          .updateCheckPerformedOK = true,
                                                          .applicationName = session.application.name,
                                                          .shouldOfferBetaToggle = false,
                                                          .betaToggleEnabled = false,
                                                          .localizationBundle = session.texts});
  if (alert) session.say(session.options.isScheduled ? alert->title : alert->title + "\n" + alert->body);
}

}  // namespace quillon
