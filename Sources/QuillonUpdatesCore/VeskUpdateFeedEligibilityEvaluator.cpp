#include "QuillonUpdatesCore/VeskUpdateFeedEligibilityEvaluator.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Text/QuillonCaseFolding.h"
#include "QuillonCore/Text/QuillonCharacterClasses.h"
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

/// Whether `count` days from `date` are over at `now` in every calendar, as they are for nearly all of a feed. Asking
/// the calendar costs as much as half of the other tests.
bool isLongPast(QuillonDate date, std::int64_t count, QuillonDate now) noexcept {
  constexpr std::chrono::days kSlack{3};
  const auto passed = std::chrono::floor<std::chrono::days>(now).time_since_epoch() -
                      std::chrono::floor<std::chrono::days>(date).time_since_epoch() - std::chrono::days(1);
  return (passed - kSlack).count() >= count;
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

/// What applicability reads of an entry. Found in one pass, which takes half the time of a search for each key.
struct VeskUpdateFeedEligibilityEvaluator::Fields {
  explicit Fields(const VeskUpdateFeedEntry& feed) noexcept {
    for (const auto [key, value] : feed.entries()) {
      std::string_view* const field = fieldOf(key);
      if (field != nullptr) *field = value.stringIf().value_or(std::string_view());
    }
  }

  [[nodiscard]] std::optional<std::string> resolvedFeedIdentifier() const {
    if (!uid.empty()) return std::string(uid);
    if (!version.empty()) return std::string(version);  // Keys::feedVersionID is the same key
    return std::nullopt;
  }

  [[nodiscard]] bool isImportantUpdate() const noexcept { return important == "1"; }

  std::string_view type;
  std::string_view uid;
  std::string_view version;
  std::string_view sku;
  std::string_view language;
  std::string_view os;
  std::string_view currentVersion;
  std::string_view currentBuild;
  std::string_view important;
  std::string_view releaseDate;

 private:
  /// With a constant `wanted` this is a comparison of one or two words, where operator== calls a function.
  [[nodiscard]] static bool isKey(std::string_view key, std::string_view wanted) noexcept {
    return key.size() == wanted.size() && std::memcmp(key.data(), wanted.data(), wanted.size()) == 0;
  }

  /// Null for a key that is not read. Keys are told apart by their length first.
  [[nodiscard]] std::string_view* fieldOf(std::string_view key) noexcept {
    switch (key.size()) {
      case 2:
        return isKey(key, Keys::uid) ? &uid : isKey(key, Keys::os) ? &os : nullptr;
      case 3:
        return isKey(key, Keys::sku) ? &sku : nullptr;
      case 4:
        return isKey(key, Keys::type) ? &type : isKey(key, Keys::language) ? &language : nullptr;
      case 7:
        return isKey(key, Keys::version) ? &version : isKey(key, Keys::currentVersion) ? &currentVersion : nullptr;
      case 9:
        return isKey(key, Keys::important) ? &important : nullptr;
      case 11:
        return isKey(key, Keys::releaseDate) ? &releaseDate : nullptr;
      case 12:
        return isKey(key, Keys::currentBuild) ? &currentBuild : nullptr;
      default:
        return nullptr;
    }
  }
};

VeskUpdateFeedEligibilityEvaluator::VeskUpdateFeedEligibilityEvaluator(
    std::shared_ptr<const QuillonCalendar> calendar) noexcept
    : calendar_(std::move(calendar)) {}

VeskUpdateFeedApplicabilityResult VeskUpdateFeedEligibilityEvaluator::evaluateApplicability(
    const VeskUpdateFeedEntry& feed, const VeskUpdateFeedApplicabilityContext& context,
    const VeskUpdateVersionComparing& versionComparator) const {
  VeskUpdateFeedApplicabilityResult result;
  const Fields fields(feed);
  result.releaseDate = releaseDate(fields);
  result.resolvedFeedIdentifier = fields.resolvedFeedIdentifier();
  if (fields.type != Keys::updateType) return result;
  if (!context.canProcessUpdateFeeds) return result;
  if (!passesApplicabilityConstraints(fields, result.releaseDate, context, versionComparator)) return result;

  const VersionAndBuild found = evaluateVersionAndBuild(fields, context, versionComparator);
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
    const Fields& fields, QuillonDate releaseDate, const VeskUpdateFeedApplicabilityContext& context,
    const VeskUpdateVersionComparing& versionComparator) const {
  if (!context.debugBypassApplicabilityChecks) {
    const std::string_view language = fields.language;
    const std::string_view preferred =
        context.preferredLanguageCode ? std::string_view(*context.preferredLanguageCode) : std::string_view();
    if (!fields.version.empty() && !isInRange(context.appVersion, fields.version, versionComparator)) return false;
    if (!fields.sku.empty() && !context.acceptedSKUs.contains(fields.sku)) return false;
    if (!language.empty() && !equalIgnoringCase(language, preferred)) return false;
    if (!fields.os.empty() && !isInRange(context.currentOSVersion, fields.os, versionComparator)) return false;
  }
  return passesStaggering(fields, releaseDate, context);
}

bool VeskUpdateFeedEligibilityEvaluator::passesStaggering(const Fields& fields, QuillonDate releaseDate,
                                                          const VeskUpdateFeedApplicabilityContext& context) const {
  if (!context.shouldApplyUserStaggering || context.isManualCheck || context.userStaggerGroup <= 0) return true;
  if (fields.isImportantUpdate() || isLongPast(releaseDate, context.userStaggerGroup, context.now)) return true;
  return context.now >= calendar_->addingDays(releaseDate, context.userStaggerGroup).value_or(kDistantPast);
}

VeskUpdateFeedEligibilityEvaluator::VersionAndBuild VeskUpdateFeedEligibilityEvaluator::evaluateVersionAndBuild(
    const Fields& fields, const VeskUpdateFeedApplicabilityContext& context,
    const VeskUpdateVersionComparing& versionComparator) {
  const std::string_view current = fields.currentVersion;
  const bool isBeta = containsLetter(current);
  if (context.debugBypassApplicabilityChecks || current.empty() ||
      versionComparator(current, context.appVersion) == ComparisonResult::descending) {
    return {.isNewerVersion = true, .isNewerBuild = false, .isBeta = isBeta};
  }
  if (!isNewerBuildOfSameVersion(fields, context)) return {};
  // A newer build of a beta counts as a newer version, so that it keeps to the reminder delay.
  return {.isNewerVersion = true, .isNewerBuild = !isBeta, .isBeta = isBeta};
}

bool VeskUpdateFeedEligibilityEvaluator::isNewerBuildOfSameVersion(
    const Fields& fields, const VeskUpdateFeedApplicabilityContext& context) noexcept {
  const std::optional<std::int64_t> build = decimalNumber<std::int64_t>(fields.currentBuild);
  return build && fields.currentVersion == context.appVersion && context.appBuild >= 1 && *build >= 1 &&
         *build > context.appBuild;
}

QuillonDate VeskUpdateFeedEligibilityEvaluator::releaseDate(const Fields& fields) const noexcept {
  return Keys::releaseDateFormatter(*calendar_).date(fields.releaseDate).value_or(kDistantPast);
}

}  // namespace quillon
