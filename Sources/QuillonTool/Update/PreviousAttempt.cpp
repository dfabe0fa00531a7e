#include "QuillonTool/Update/PreviousAttempt.h"

#include <string>

#include "QuillonCore/Text/QuillonPlainText.h"
#include "QuillonTool/Update/UpdateExplanation.h"
#include "QuillonTool/Update/UpdateWorkingFolders.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementBackup.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReportStore.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlertPresenter.h"

namespace quillon {
namespace {

using PreviousFailure = UpdateOutcome::PreviousFailure;

/// Stands for a report where there is none.
constexpr std::string_view kNoReport = "noReport";
constexpr std::string_view kNoReportExplanation =
    "The last update did not come to an end, and left no report: it was interrupted. The version from before is still "
    "installed.";

std::optional<PreviousFailure> failureOf(const std::optional<VeskUpdateAttempt>& attempt,
                                         const ApplicationSession& session) {
  const VeskAppBundleUpdateFailureReportStore store(session.services.fileManager);
  const auto report = store.consumeFailureReport(session.application.identifier,
                                                 attempt ? std::optional(attempt->identifier) : std::nullopt);
  const std::string version = attempt ? attempt->toVersion : std::string();
  if (report) {
    return PreviousFailure{.description = report->errorDescription, .failedAt = report->failedAt, .version = version};
  }
  const bool isUnchanged =
      attempt && attempt->fromVersion == session.application.version && attempt->fromBuild == session.application.build;
  if (!isUnchanged) return std::nullopt;
  return PreviousFailure{.description = std::string(kNoReport), .failedAt = std::nullopt, .version = version};
}

void explain(const PreviousFailure& failure, const ApplicationSession& session) {
  const bool hasReport = failure.description != kNoReport;
  const std::string_view reason = hasReport ? explanationOfReport(failure.description) : kNoReportExplanation;
  const VeskUpdateAlert alert =
      VeskUpdateAlertPresenter(nullptr, nullptr).makeInstallationFailedAlert(*session.texts, std::string(reason));
  std::string text = alert.title;
  if (!failure.version.empty()) text += " (" + session.application.name + " " + failure.version + ")";
  text += "\n" + alert.body;
  if (hasReport) {
    text += "\nReport of the last attempt: " + singleLineText(failure.description);
    if (const auto date = dateText(failure.failedAt)) text += ", " + *date;
  }
  session.say(text);
}

void log(const ApplicationSession& session, const std::string& text) {
  session.services.logger->info([&text] { return text; }, ApplicationSession::logCategory);
}

/// Those of installers that ended between putting the new version in place and removing the old one.
void removeBackups(const ApplicationSession& session) {
  for (const std::string& name : VeskAppBundleReplacementBackup::removeAbandonedBackups(*session.services.fileManager,
                                                                                        session.application.bundle)) {
    log(session, "removed the old version " + name);
  }
}

}  // namespace

std::optional<PreviousFailure> settlePreviousAttempt(const ApplicationSession& session) {
  const std::optional<VeskUpdateAttempt> attempt = session.memory.attempt();
  std::optional<PreviousFailure> failure = failureOf(attempt, session);
  if (failure) {
    explain(*failure, session);
  } else if (attempt) {
    session.say(session.application.name + " was updated from version " + attempt->fromVersion + " to " +
                session.application.version + ".");
    removeBackups(session);
  }
  session.memory.setAttempt(std::nullopt);
  const UpdateWorkingFolders folders(session.application);
  for (const std::string& name : folders.removeLeftovers(*session.services.fileManager)) {
    log(session, "removed the working folder " + name);
  }
  return failure;
}

}  // namespace quillon
