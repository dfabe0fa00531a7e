#include "UpdateMemory.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonError.h"

namespace sample {
namespace {

using quillon::QuillonDate;
using quillon::QuillonPropertyListValue;
using Dictionary = QuillonPropertyListValue::Dictionary;

constexpr std::string_view kChecksForBetas = "QuillonUpdateChecksForBetas";
constexpr std::string_view kLastCheck = "QuillonUpdateLastCheck";
constexpr std::string_view kRefetchInterval = "QuillonUpdateRefetchInterval";
constexpr std::string_view kShownEntries = "QuillonUpdateShownIdentifiers";
constexpr std::string_view kLastOffer = "QuillonUpdateLastShown";
constexpr std::string_view kSkippedEntry = "QuillonUpdateSkippedIdentifier";
constexpr std::string_view kRefusedEntry = "QuillonUpdateRefusedIdentifier";
constexpr std::string_view kStaggerGroup = "QuillonUpdateStaggerGroup";
constexpr std::string_view kAttempt = "QuillonUpdateLastAttempt";

constexpr std::int64_t kStaggerGroups = 7;
/// A feed that asks for a longer one is mistaken, and dates have an end.
constexpr double kLongestRefetchIntervalSeconds = 366.0 * 24 * 3600;

template <typename Value>
std::optional<Value> find(const quillon::QuillonKeyValueStoring& settings, std::string_view key) {
  const auto stored = settings.objectForKey(key);
  const Value* const value = stored ? stored->getIf<Value>() : nullptr;
  return value == nullptr ? std::nullopt : std::optional(*value);
}

}  // namespace

UpdateMemory::UpdateMemory(std::shared_ptr<quillon::QuillonKeyValueStoring> settings)
    : settings_(std::move(settings)) {}

bool UpdateMemory::checksForBetas() const {
  return settings_->boolForKey(kChecksForBetas);
}

void UpdateMemory::setChecksForBetas(bool checksForBetas) {
  set(kChecksForBetas, QuillonPropertyListValue(checksForBetas));
}

QuillonDate UpdateMemory::nextCheck(QuillonDate now) const {
  const auto lastCheck = find<QuillonDate>(*settings_, kLastCheck);
  // A check of the future was made before the clock was set back.
  if (!lastCheck || *lastCheck > now) return now;
  const auto interval = find<double>(*settings_, kRefetchInterval);
  if (!interval || std::isnan(*interval)) return *lastCheck + std::chrono::seconds(kDefaultRefetchIntervalSeconds);
  const double seconds = std::clamp(*interval, 0.0, kLongestRefetchIntervalSeconds);
  return *lastCheck + std::chrono::seconds(static_cast<std::int64_t>(seconds));
}

Dictionary UpdateMemory::shownEntries() const {
  return find<Dictionary>(*settings_, kShownEntries).value_or(Dictionary());
}

void UpdateMemory::rememberCheck(const quillon::VeskUpdateFeedPipelineApplicationResult& result, QuillonDate now) {
  set(kLastCheck, QuillonPropertyListValue(now));
  if (result.updatedNewsDictionary) set(kShownEntries, QuillonPropertyListValue(*result.updatedNewsDictionary));
  if (result.resolvedSleepInterval) set(kRefetchInterval, QuillonPropertyListValue(*result.resolvedSleepInterval));
}

std::optional<QuillonDate> UpdateMemory::lastOffer() const {
  return find<QuillonDate>(*settings_, kLastOffer);
}

void UpdateMemory::setLastOffer(QuillonDate date) {
  set(kLastOffer, QuillonPropertyListValue(date));
}

std::optional<std::string> UpdateMemory::skippedEntry() const {
  return settings_->stringForKey(kSkippedEntry);
}

void UpdateMemory::setSkippedEntry(const std::optional<std::string>& identifier) {
  set(kSkippedEntry, identifier ? std::optional(QuillonPropertyListValue(*identifier)) : std::nullopt);
}

std::optional<std::string> UpdateMemory::refusedEntry() const {
  return settings_->stringForKey(kRefusedEntry);
}

void UpdateMemory::setRefusedEntry(const std::optional<std::string>& identifier) {
  set(kRefusedEntry, identifier ? std::optional(QuillonPropertyListValue(*identifier)) : std::nullopt);
}

std::int64_t UpdateMemory::staggerGroup() {
  if (const auto group = find<std::int64_t>(*settings_, kStaggerGroup)) return *group;
  std::random_device device;
  const std::int64_t group = std::uniform_int_distribution<std::int64_t>(0, kStaggerGroups - 1)(device);
  set(kStaggerGroup, QuillonPropertyListValue(group));
  return group;
}

void UpdateMemory::setAttempt(const std::optional<UpdateAttempt>& attempt) {
  if (!attempt) return set(kAttempt, std::nullopt);
  set(kAttempt, QuillonPropertyListValue(Dictionary{{"identifier", QuillonPropertyListValue(attempt->identifier)},
                                                    {"fromVersion", QuillonPropertyListValue(attempt->fromVersion)},
                                                    {"fromBuild", QuillonPropertyListValue(attempt->fromBuild)},
                                                    {"toVersion", QuillonPropertyListValue(attempt->toVersion)}}));
}

std::optional<UpdateAttempt> UpdateMemory::takeAttempt() {
  const auto stored = settings_->objectForKey(kAttempt);
  const Dictionary* const attempt = stored ? stored->getIf<Dictionary>() : nullptr;
  if (attempt == nullptr) return std::nullopt;
  set(kAttempt, std::nullopt);
  const QuillonPropertyListValue* const build = stored->find("fromBuild");
  const std::int64_t* const number = build == nullptr ? nullptr : build->getIf<std::int64_t>();
  return UpdateAttempt{.identifier = quillon::stringOrEmpty(*attempt, "identifier"),
                       .fromVersion = quillon::stringOrEmpty(*attempt, "fromVersion"),
                       .fromBuild = number == nullptr ? 0 : *number,
                       .toVersion = quillon::stringOrEmpty(*attempt, "toVersion")};
}

void UpdateMemory::set(std::string_view key, const std::optional<QuillonPropertyListValue>& value) {
  try {
    settings_->set(value, key);
  } catch (const quillon::QuillonError&) {  // NOLINT(bugprone-empty-catch): dropped, as the class says
  }
}

}  // namespace sample
