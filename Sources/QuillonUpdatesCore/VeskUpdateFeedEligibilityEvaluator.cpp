#include "QuillonUpdatesCore/VeskUpdateFeedEligibilityEvaluator.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Text/QuillonCaseFolding.h"
#include "QuillonCore/Text/QuillonCharacterClasses.h"
#include "QuillonCore/Text/QuillonScalars.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using std::chrono::seconds;
using Keys = VeskUpdateFeedKeys;

/// Whether `version` lies within `range`, bounds included: what stands before the first hyphen is the low bound, what
/// stands behind the last one the high bound. Either may be empty, which is an empty version and older than any number.
bool isInRange(std::string_view version, std::string_view range, const VeskUpdateVersionComparing& versionComparator) {
  const std::string_view low = range.substr(0, range.find('-'));
  if (versionComparator(low, version) == ComparisonResult::descending) return false;
  const std::size_t lastHyphen = range.rfind('-');
  if (lastHyphen == std::string_view::npos) return true;
  return versionComparator(version, range.substr(lastHyphen + 1)) != ComparisonResult::descending;
}

bool isImportantUpdate(const VeskUpdateFeedEntry& feed) noexcept {
  return stringOrEmpty(feed, Keys::important) == "1";
}

std::optional<std::string> resolvedFeedIdentifier(const VeskUpdateFeedEntry& feed) {
  for (const std::string_view key : {Keys::uid, Keys::feedVersionID}) {
    const std::string_view identifier = stringOrEmpty(feed, key);
    if (!identifier.empty()) return std::string(identifier);
  }
  return std::nullopt;
}

bool hasLetter(std::string_view text) noexcept {
  while (!text.empty()) {
    if (isLetter(takeFirstScalar(text))) return true;
  }
  return false;
}

bool isNewerBuildOfSameVersion(const VeskUpdateFeedEntry& feed, const VeskUpdateFeedApplicabilityContext& context) {
  const std::optional<std::int64_t> build = decimalNumber<std::int64_t>(stringOrEmpty(feed, Keys::currentBuild));
  return build && stringOrEmpty(feed, Keys::currentVersion) == context.appVersion && context.appBuild >= 1 &&
         *build >= 1 && *build > context.appBuild;
}

/// Ends the process when the hours are more seconds than 64 bits hold.
seconds reminderDelay(std::int64_t hours) {
  constexpr std::int64_t kSecondsPerHour = 3600;
  const std::int64_t counted = std::max<std::int64_t>(hours, 0);
  if (counted > std::numeric_limits<std::int64_t>::max() / kSecondsPerHour) {
    std::fputs("VeskUpdateFeedEligibilityEvaluator: checkUpdatesAfterHours is too large\n", stderr);
    std::abort();
  }
  return seconds(counted * kSecondsPerHour);
}

/// `date` plus `delay`, at most the last date there is.
QuillonDate later(QuillonDate date, seconds delay) noexcept {
  // Seconds of any two dates can be told apart in 64 bits, microseconds cannot. Cut towards 1970, both stay dates.
  const auto second = std::chrono::time_point_cast<seconds>(date);
  if (delay >= std::chrono::time_point_cast<seconds>(QuillonDate::max()) - second) return QuillonDate::max();
  return QuillonDate(second + delay) + (date - second);
}

/// Whether the entry is shown whatever the reminder delay is.
bool isForced(const VeskUpdateFeedEntry& feed, const VeskUpdateFeedApplicabilityResult& applicability,
              const VeskUpdateFeedDisplayContext& context, const VeskUpdateVersionComparing& versionComparator) {
  if (applicability.isNewBuild) return true;
  const std::string_view mustUpdate = stringOrEmpty(feed, Keys::mustUpdate);
  return !mustUpdate.empty() && versionComparator(context.appVersion, mustUpdate) == ComparisonResult::same;
}

bool isRemindedNow(const VeskUpdateFeedEntry& feed, const VeskUpdateFeedApplicabilityResult& applicability,
                   const VeskUpdateFeedDisplayContext& context, const VeskUpdateVersionComparing& versionComparator) {
  if (!context.lastNewsDisplayedDate || context.isManualCheck) return true;
  if (isForced(feed, applicability, context, versionComparator)) return true;
  return context.now >= later(*context.lastNewsDisplayedDate, reminderDelay(context.checkUpdatesAfterHours));
}

}  // namespace

VeskUpdateFeedEligibilityEvaluator::VeskUpdateFeedEligibilityEvaluator(
    std::shared_ptr<const QuillonCalendar> calendar) noexcept
    : calendar_(std::move(calendar)) {}

VeskUpdateFeedApplicabilityResult VeskUpdateFeedEligibilityEvaluator::evaluateApplicability(
    const VeskUpdateFeedEntry& feed, const VeskUpdateFeedApplicabilityContext& context,
    const VeskUpdateVersionComparing& versionComparator) const {
  VeskUpdateFeedApplicabilityResult result;
  result.releaseDate = releaseDate(feed);
  result.resolvedFeedIdentifier = resolvedFeedIdentifier(feed);
  if (stringOrEmpty(feed, Keys::type) != Keys::updateType) return result;
  if (!context.canProcessUpdateFeeds) return result;
  if (!passesApplicabilityConstraints(feed, result.releaseDate, context, versionComparator)) return result;

  const VersionAndBuild found = evaluateVersionAndBuild(feed, context, versionComparator);
  result.isBetaUpdate = found.isBeta;
  if (!found.isNewerVersion && !found.isNewerBuild) return result;
  // Who asks for updates by hand is offered betas without having opted in.
  if (found.isBeta && !context.checkForBetaReleasesEnabled && !context.isManualCheck) return result;
  result.shouldProcessFeed = true;
  result.isUpdate = found.isNewerVersion;
  result.isNewBuild = found.isNewerBuild;
  return result;
}

VeskUpdateFeedDisplayResult VeskUpdateFeedEligibilityEvaluator::evaluateDisplay(
    const VeskUpdateFeedEntry& feed, const VeskUpdateFeedApplicabilityResult& applicability,
    const VeskUpdateFeedDisplayContext& context, const VeskUpdateVersionComparing& versionComparator) const {
  VeskUpdateFeedDisplayResult result;
  result.resolvedFeedIdentifier = applicability.resolvedFeedIdentifier;
  result.effectiveStoredFeedIdentifier = context.storedFeedIdentifier;
  const bool isOffer = applicability.isUpdate || applicability.isNewBuild;
  if (!applicability.shouldProcessFeed || !isOffer || !applicability.resolvedFeedIdentifier) return result;

  if (context.shouldResetStoredFeedIdentifier) result.effectiveStoredFeedIdentifier.reset();
  if (!context.canProcessUpdateFeeds) {
    result.isEligibleForProcessing = true;
    result.shouldDisplayNow = result.effectiveStoredFeedIdentifier != result.resolvedFeedIdentifier;
    return result;
  }
  result.isEligibleForProcessing = isRemindedNow(feed, applicability, context, versionComparator);
  result.shouldDisplayNow = result.isEligibleForProcessing;
  return result;
}

bool VeskUpdateFeedEligibilityEvaluator::passesApplicabilityConstraints(
    const VeskUpdateFeedEntry& feed, QuillonDate releaseDate, const VeskUpdateFeedApplicabilityContext& context,
    const VeskUpdateVersionComparing& versionComparator) const {
  if (!context.debugBypassApplicabilityChecks) {
    const std::string_view version = stringOrEmpty(feed, Keys::version);
    if (!version.empty() && !isInRange(context.appVersion, version, versionComparator)) return false;
    const std::string_view sku = stringOrEmpty(feed, Keys::sku);
    if (!sku.empty() && !context.acceptedSKUs.contains(sku)) return false;
    const std::string_view language = stringOrEmpty(feed, Keys::language);
    if (!language.empty() && !equalIgnoringCase(language, context.preferredLanguageCode.value_or(""))) return false;
    const std::string_view os = stringOrEmpty(feed, Keys::os);
    if (!os.empty() && !isInRange(context.currentOSVersion, os, versionComparator)) return false;
  }
  return passesStaggering(feed, releaseDate, context);
}

bool VeskUpdateFeedEligibilityEvaluator::passesStaggering(const VeskUpdateFeedEntry& feed, QuillonDate releaseDate,
                                                          const VeskUpdateFeedApplicabilityContext& context) const {
  if (!context.shouldApplyUserStaggering || context.isManualCheck || context.userStaggerGroup <= 0) return true;
  if (isImportantUpdate(feed)) return true;
  return context.now >= calendar_->addingDays(releaseDate, context.userStaggerGroup).value_or(kDistantPast);
}

VeskUpdateFeedEligibilityEvaluator::VersionAndBuild VeskUpdateFeedEligibilityEvaluator::evaluateVersionAndBuild(
    const VeskUpdateFeedEntry& feed, const VeskUpdateFeedApplicabilityContext& context,
    const VeskUpdateVersionComparing& versionComparator) {
  const std::string_view current = stringOrEmpty(feed, Keys::currentVersion);
  const bool isBeta = hasLetter(current);
  if (context.debugBypassApplicabilityChecks || current.empty() ||
      versionComparator(current, context.appVersion) == ComparisonResult::descending) {
    return {.isNewerVersion = true, .isNewerBuild = false, .isBeta = isBeta};
  }
  if (!isNewerBuildOfSameVersion(feed, context)) return {};
  // A newer build of a beta counts as a newer version, so that it keeps to the reminder delay.
  return {.isNewerVersion = true, .isNewerBuild = !isBeta, .isBeta = isBeta};
}

QuillonDate VeskUpdateFeedEligibilityEvaluator::releaseDate(const VeskUpdateFeedEntry& feed) const noexcept {
  const std::string_view text = stringOrEmpty(feed, Keys::releaseDate);
  return Keys::releaseDateFormatter(*calendar_).date(text).value_or(kDistantPast);
}

}  // namespace quillon
