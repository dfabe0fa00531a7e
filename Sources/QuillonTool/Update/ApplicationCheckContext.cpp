#include "QuillonTool/Update/ApplicationCheckContext.h"

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

std::string versionText(const QuillonSystemVersion& version) {
  return std::to_string(version.major) + "." + std::to_string(version.minor) + "." + std::to_string(version.patch);
}

/// "de" of "de-AT".
std::optional<std::string> languageCode(const std::vector<std::string>& languages) {
  if (languages.empty()) return std::nullopt;
  return languages.front().substr(0, languages.front().find('-'));
}

VeskUpdateFeedApplicabilityContext applicabilityContext(const InstalledApplication& application,
                                                        const VeskUpdateMemory& memory, const UpdateOptions& options,
                                                        const UpdateEnvironment& environment, QuillonDate now) {
  VeskUpdateFeedApplicabilityContext context;
  context.appVersion = application.version;
  context.appBuild = application.build;
  context.currentOSVersion = versionText(environment.systemVersion);
  context.preferredLanguageCode = languageCode(environment.languages);
  context.acceptedSKUs = application.skus;
  context.acceptedSKUs.insert(options.skus.begin(), options.skus.end());
  context.canProcessUpdateFeeds = true;
  context.isManualCheck = !options.isScheduled;
  context.checkForBetaReleasesEnabled = options.betaPreference.value_or(memory.checksForBetas());
  context.shouldApplyUserStaggering = memory.staggerGroup().has_value();
  context.userStaggerGroup = memory.staggerGroup().value_or(0);
  context.now = now;
  return context;
}

}  // namespace

FeedCheckContext makeFeedCheckContext(const InstalledApplication& application, const VeskUpdateMemory& memory,
                                      const UpdateOptions& options, const UpdateEnvironment& environment,
                                      QuillonDate now) {
  FeedCheckContext context;
  context.applicability = applicabilityContext(application, memory, options, environment, now);
  context.display.appVersion = application.version;
  context.display.canProcessUpdateFeeds = true;
  context.display.now = now;
  context.display.lastNewsDisplayedDate = memory.lastShown(now);
  context.display.checkUpdatesAfterHours = memory.reminderHours();
  context.display.isManualCheck = !options.isScheduled;
  const std::string shown = stringOrEmpty(memory.shownIdentifiers(), VeskUpdateFeedKeys::updateType);
  if (!shown.empty()) context.display.storedFeedIdentifier = shown;
  return context;
}

}  // namespace quillon
