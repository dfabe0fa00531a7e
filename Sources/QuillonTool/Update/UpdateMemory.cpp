#include "QuillonTool/Update/UpdateMemory.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;

/// A hundred years: whatever is longer is a mistake of whoever wrote it, and would not fit into dates.
constexpr double kLongestIntervalSeconds = 100.0 * 366 * 86400;
constexpr std::int64_t kLongestReminderHours = std::int64_t{100} * 366 * 24;

constexpr std::string_view kIdentifier = "identifier";
constexpr std::string_view kFromVersion = "fromVersion";
constexpr std::string_view kFromBuild = "fromBuild";
constexpr std::string_view kToVersion = "toVersion";

}  // namespace

UpdateMemory::UpdateMemory(std::shared_ptr<QuillonKeyValueStoring> settings, std::shared_ptr<QuillonLogger> logger)
    : settings_(std::move(settings)), logger_(std::move(logger)) {}

Dictionary UpdateMemory::shownIdentifiers() const {
  const auto value = settings_->objectForKey(shownIdentifiersKey);
  const auto* const identifiers = value ? value->getIf<Dictionary>() : nullptr;
  return identifiers == nullptr ? Dictionary() : *identifiers;
}

bool UpdateMemory::setShownIdentifiers(const Dictionary& identifiers) {
  return store(QuillonPropertyListValue(identifiers), shownIdentifiersKey);
}

std::optional<QuillonDate> UpdateMemory::lastShown() const {
  return dateForKey(lastShownKey);
}

bool UpdateMemory::setLastShown(QuillonDate date) {
  return store(QuillonPropertyListValue(date), lastShownKey);
}

std::optional<QuillonDate> UpdateMemory::lastCheck() const {
  return dateForKey(lastCheckKey);
}

bool UpdateMemory::setLastCheck(QuillonDate date) {
  return store(QuillonPropertyListValue(date), lastCheckKey);
}

double UpdateMemory::refetchInterval() const {
  if (!settings_->objectForKey(refetchIntervalKey)) return static_cast<double>(defaultRefetchIntervalSeconds);
  const double seconds = settings_->doubleForKey(refetchIntervalKey);
  return std::isnan(seconds) ? 0 : std::clamp(seconds, 0.0, kLongestIntervalSeconds);
}

bool UpdateMemory::setRefetchInterval(double seconds) {
  return store(QuillonPropertyListValue(seconds), refetchIntervalKey);
}

std::optional<QuillonDate> UpdateMemory::nextCheck(QuillonDate now) const {
  const std::optional<QuillonDate> last = lastCheck();
  if (!last || *last > now) return std::nullopt;
  const auto interval =
      std::chrono::duration_cast<QuillonDate::duration>(std::chrono::duration<double>(refetchInterval()));
  return *last + interval > now ? std::optional(*last + interval) : std::nullopt;
}

std::int64_t UpdateMemory::reminderHours() const {
  if (!settings_->objectForKey(reminderHoursKey)) return defaultReminderHours;
  return std::clamp(settings_->integerForKey(reminderHoursKey), std::int64_t{0}, kLongestReminderHours);
}

bool UpdateMemory::checksForBetas() const {
  return settings_->boolForKey(betaPreferenceKey);
}

bool UpdateMemory::setChecksForBetas(bool checksForBetas) {
  return store(QuillonPropertyListValue(checksForBetas), betaPreferenceKey);
}

std::optional<std::int64_t> UpdateMemory::staggerGroup() const {
  if (!settings_->objectForKey(staggerGroupKey)) return std::nullopt;
  return settings_->integerForKey(staggerGroupKey);
}

std::optional<std::string> UpdateMemory::skippedIdentifier() const {
  return textForKey(skippedIdentifierKey);
}

bool UpdateMemory::setSkippedIdentifier(const std::optional<std::string>& identifier) {
  return store(identifier ? std::optional(QuillonPropertyListValue(*identifier)) : std::nullopt, skippedIdentifierKey);
}

std::optional<std::string> UpdateMemory::refusedIdentifier() const {
  return textForKey(refusedIdentifierKey);
}

bool UpdateMemory::setRefusedIdentifier(const std::optional<std::string>& identifier) {
  return store(identifier ? std::optional(QuillonPropertyListValue(*identifier)) : std::nullopt, refusedIdentifierKey);
}

std::optional<UpdateAttempt> UpdateMemory::attempt() const {
  const auto value = settings_->objectForKey(attemptKey);
  const auto* const fields = value ? value->getIf<Dictionary>() : nullptr;
  if (fields == nullptr) return std::nullopt;
  const QuillonPropertyListValue* const build = value->find(kFromBuild);
  const auto* const number = build == nullptr ? nullptr : build->getIf<std::int64_t>();
  return UpdateAttempt{.identifier = stringOrEmpty(*fields, kIdentifier),
                       .fromVersion = stringOrEmpty(*fields, kFromVersion),
                       .fromBuild = number == nullptr ? 0 : *number,
                       .toVersion = stringOrEmpty(*fields, kToVersion)};
}

bool UpdateMemory::setAttempt(const std::optional<UpdateAttempt>& attempt) {
  if (!attempt) return store(std::nullopt, attemptKey);
  Dictionary fields;
  fields.emplace(kIdentifier, QuillonPropertyListValue(attempt->identifier));
  fields.emplace(kFromVersion, QuillonPropertyListValue(attempt->fromVersion));
  fields.emplace(kFromBuild, QuillonPropertyListValue(attempt->fromBuild));
  fields.emplace(kToVersion, QuillonPropertyListValue(attempt->toVersion));
  return store(QuillonPropertyListValue(std::move(fields)), attemptKey);
}

std::optional<QuillonDate> UpdateMemory::dateForKey(std::string_view key) const {
  const auto value = settings_->objectForKey(key);
  const auto* const date = value ? value->getIf<QuillonPropertyListDate>() : nullptr;
  return date == nullptr ? std::nullopt : std::optional<QuillonDate>(*date);
}

std::optional<std::string> UpdateMemory::textForKey(std::string_view key) const {
  std::optional<std::string> text = settings_->stringForKey(key);
  return text && !text->empty() ? text : std::nullopt;
}

bool UpdateMemory::store(const std::optional<QuillonPropertyListValue>& value, std::string_view key) {
  try {
    if (!value && !settings_->objectForKey(key)) return true;
    settings_->set(value, key);
    return true;
  } catch (const QuillonError& error) {
    logger_->warn([&] { return "cannot store " + std::string(key) + ": " + error.description(); }, "settings");
    return false;
  }
}

}  // namespace quillon
