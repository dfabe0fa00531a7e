#include "QuillonUpdatesCore/VeskUpdateMemory.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>
#include <utility>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;

/// Whatever is longer is a mistake of whoever wrote it, and may not fit into dates.
constexpr double kLongestIntervalSeconds = 366.0 * 86400;
constexpr std::int64_t kLongestReminderHours = std::int64_t{366} * 24;

constexpr std::string_view kIdentifier = "identifier";
constexpr std::string_view kFromVersion = "fromVersion";
constexpr std::string_view kFromBuild = "fromBuild";
constexpr std::string_view kToVersion = "toVersion";

/// Whether the installed version must take this update, whatever its user said.
bool isForced(const VeskUpdateFeedEntry& entry, std::string_view installedVersion) {
  const std::string_view version = stringOrEmpty(entry, VeskUpdateFeedKeys::mustUpdate);
  return !version.empty() && VeskUpdateVersionComparison::compare(installedVersion, version) == ComparisonResult::same;
}

}  // namespace

VeskUpdateMemory::VeskUpdateMemory(std::shared_ptr<QuillonKeyValueStoring> settings,
                                   std::shared_ptr<QuillonLogger> logger)
    : settings_(std::move(settings)), logger_(std::move(logger)) {}

void VeskUpdateMemory::rememberCheck(const VeskUpdateFeedPipelineApplicationResult& result, QuillonDate now) {
  store(QuillonPropertyListValue(now), lastCheckKey);
  if (result.resolvedSleepInterval) {
    store(QuillonPropertyListValue(*result.resolvedSleepInterval), refetchIntervalKey);
  }
  if (!result.updatedNewsDictionary) return;
  store(QuillonPropertyListValue(*result.updatedNewsDictionary), shownIdentifiersKey);
  setLastShown(now);
}

Dictionary VeskUpdateMemory::shownIdentifiers() const {
  return valueOfType<Dictionary>(shownIdentifiersKey).value_or(Dictionary());
}

std::optional<QuillonDate> VeskUpdateMemory::lastShown(QuillonDate now) const {
  const auto date = valueOfType<QuillonDate>(lastShownKey);
  return date && *date > now ? std::nullopt : date;
}

void VeskUpdateMemory::setLastShown(QuillonDate date) {
  store(QuillonPropertyListValue(date), lastShownKey);
}

std::optional<QuillonDate> VeskUpdateMemory::lastCheck() const {
  return valueOfType<QuillonDate>(lastCheckKey);
}

std::optional<QuillonDate> VeskUpdateMemory::nextCheck(QuillonDate now) const {
  const std::optional<QuillonDate> last = lastCheck();
  if (!last || *last > now) return std::nullopt;
  const auto interval =
      std::chrono::duration_cast<QuillonDate::duration>(std::chrono::duration<double>(refetchInterval()));
  return *last + interval > now ? std::optional(*last + interval) : std::nullopt;
}

double VeskUpdateMemory::refetchInterval() const {
  std::optional<double> seconds = valueOfType<double>(refetchIntervalKey);
  if (!seconds) seconds = valueOfType<std::int64_t>(refetchIntervalKey);
  if (!seconds || std::isnan(*seconds)) return defaultRefetchIntervalSeconds;
  return std::clamp<double>(*seconds, minimumRefetchIntervalSeconds, kLongestIntervalSeconds);
}

std::int64_t VeskUpdateMemory::reminderHours() const {
  const auto hours = valueOfType<std::int64_t>(reminderHoursKey).value_or(defaultReminderHours);
  return std::clamp(hours, std::int64_t{0}, kLongestReminderHours);
}

bool VeskUpdateMemory::checksForBetas() const {
  return valueOfType<bool>(betaPreferenceKey).value_or(false);
}

void VeskUpdateMemory::setChecksForBetas(bool checksForBetas) {
  store(QuillonPropertyListValue(checksForBetas), betaPreferenceKey);
}

std::optional<std::int64_t> VeskUpdateMemory::staggerGroup() const {
  return valueOfType<std::int64_t>(staggerGroupKey);
}

std::int64_t VeskUpdateMemory::drawnStaggerGroup() {
  if (const auto group = staggerGroup()) return *group;
  std::random_device device;
  const std::int64_t group = std::uniform_int_distribution<std::int64_t>(0, staggerGroupCount - 1)(device);
  store(QuillonPropertyListValue(group), staggerGroupKey);
  return group;
}

std::optional<std::string> VeskUpdateMemory::skippedIdentifier() const {
  return identifier(skippedIdentifierKey);
}

void VeskUpdateMemory::setSkippedIdentifier(const std::optional<std::string>& identifier) {
  store(identifier ? std::optional(QuillonPropertyListValue(*identifier)) : std::nullopt, skippedIdentifierKey);
}

std::optional<std::string> VeskUpdateMemory::refusedIdentifier() const {
  return identifier(refusedIdentifierKey);
}

void VeskUpdateMemory::setRefusedIdentifier(const std::optional<std::string>& identifier) {
  store(identifier ? std::optional(QuillonPropertyListValue(*identifier)) : std::nullopt, refusedIdentifierKey);
}

bool VeskUpdateMemory::isDeclined(const VeskUpdateFeedProcessingCandidate& candidate,
                                  std::string_view installedVersion) const {
  const std::optional<std::string>& identifier = candidate.display.resolvedFeedIdentifier;
  if (!identifier) return false;
  if (identifier == refusedIdentifier()) return true;
  return identifier == skippedIdentifier() && !isForced(candidate.feed, installedVersion);
}

std::optional<VeskUpdateAttempt> VeskUpdateMemory::attempt() const {
  const auto stored = value(attemptKey);
  const auto* const fields = stored ? stored->getIf<Dictionary>() : nullptr;
  if (fields == nullptr) return std::nullopt;
  const QuillonPropertyListValue* const build = stored->find(kFromBuild);
  const auto* const number = build == nullptr ? nullptr : build->getIf<std::int64_t>();
  return VeskUpdateAttempt{.identifier = stringOrEmpty(*fields, kIdentifier),
                           .fromVersion = stringOrEmpty(*fields, kFromVersion),
                           .fromBuild = number == nullptr ? 0 : *number,
                           .toVersion = stringOrEmpty(*fields, kToVersion)};
}

bool VeskUpdateMemory::setAttempt(const std::optional<VeskUpdateAttempt>& attempt) {
  if (!attempt) return store(std::nullopt, attemptKey);
  Dictionary fields;
  fields.emplace(kIdentifier, QuillonPropertyListValue(attempt->identifier));
  fields.emplace(kFromVersion, QuillonPropertyListValue(attempt->fromVersion));
  fields.emplace(kFromBuild, QuillonPropertyListValue(attempt->fromBuild));
  fields.emplace(kToVersion, QuillonPropertyListValue(attempt->toVersion));
  return store(QuillonPropertyListValue(std::move(fields)), attemptKey);
}

std::optional<QuillonPropertyListValue> VeskUpdateMemory::value(std::string_view key) const {
  {
    const std::lock_guard guard(lock_);
    const auto found = unstored_.find(key);
    if (found != unstored_.end()) return found->second;
  }
  return settings_->objectForKey(key);
}

template <typename Value>
std::optional<Value> VeskUpdateMemory::valueOfType(std::string_view key) const {
  const auto stored = value(key);
  const auto* const found = stored ? stored->getIf<Value>() : nullptr;
  return found == nullptr ? std::nullopt : std::optional<Value>(*found);
}

std::optional<std::string> VeskUpdateMemory::identifier(std::string_view key) const {
  std::optional<std::string> text = valueOfType<std::string>(key);
  return text && !text->empty() ? text : std::nullopt;
}

bool VeskUpdateMemory::store(const std::optional<QuillonPropertyListValue>& value, std::string_view key) {
  try {
    if (value || settings_->objectForKey(key)) settings_->set(value, key);
    const std::lock_guard guard(lock_);
    unstored_.erase(std::string(key));
    return true;
  } catch (const QuillonError& error) {
    logger_->warn([&] { return "cannot store " + std::string(key) + ": " + error.description(); }, "settings");
    const std::lock_guard guard(lock_);
    unstored_.insert_or_assign(std::string(key), value);
    return false;
  }
}

}  // namespace quillon
