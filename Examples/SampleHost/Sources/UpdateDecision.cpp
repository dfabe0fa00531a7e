#include "UpdateDecision.h"

#include <functional>
#include <set>
#include <string>

#include "QuillonCore/Runtime/QuillonPreferredLanguages.h"
#include "QuillonCore/Values/QuillonSystemVersion.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

namespace sample {
namespace {

/// "6.1.0" on Linux, the version of macOS there: what an entry's "os" is compared with.
std::string systemVersion() {
  const auto version = quillon::QuillonSystemVersion::running();
  return std::to_string(version.major) + '.' + std::to_string(version.minor) + '.' + std::to_string(version.patch);
}

/// "de" for a user who prefers "de-AT".
std::optional<std::string> languageCode() {
  const auto languages = quillon::preferredLanguages();
  if (languages.empty()) return std::nullopt;
  return languages.front().substr(0, languages.front().find('-'));
}

std::set<std::string, std::less<>> distributions(const HostInformation& host) {
  if (!host.distribution) return {};
  return {*host.distribution};
}

}  // namespace

quillon::VeskUpdateFeedPipelineResult decideOnUpdate(const quillon::VeskUpdateFeed& feed, const HostInformation& host,
                                                     quillon::VeskUpdateMemory& memory, bool isManualCheck,
                                                     quillon::QuillonDate now) {
  const quillon::VeskUpdateFeedApplicabilityContext applicability{
      .appVersion = host.version,
      .appBuild = host.build,
      .currentOSVersion = systemVersion(),
      .preferredLanguageCode = languageCode(),
      .acceptedSKUs = distributions(host),
      .canProcessUpdateFeeds = true,
      .isManualCheck = isManualCheck,
      .checkForBetaReleasesEnabled = memory.checksForBetas(),
      .shouldApplyUserStaggering = true,
      .userStaggerGroup = memory.drawnStaggerGroup(),
      .now = now};
  quillon::VeskUpdateFeedDisplayContext display;
  display.appVersion = host.version;
  display.canProcessUpdateFeeds = true;
  display.now = now;
  display.lastNewsDisplayedDate = memory.lastShown(now);
  display.checkUpdatesAfterHours = memory.reminderHours();
  display.isManualCheck = isManualCheck;
  return quillon::VeskUpdateFeedPipelineEvaluator().evaluate(feed, {}, applicability, display,
                                                             quillon::VeskUpdateVersionComparison::compare);
}

}  // namespace sample
