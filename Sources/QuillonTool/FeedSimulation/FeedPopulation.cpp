#include "QuillonTool/FeedSimulation/FeedPopulation.h"

#include <algorithm>
#include <limits>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;

/// Of a feed with a long history, what stands in its first entries is enough.
constexpr std::size_t kMostVersionsOfAFeed = 12;
constexpr std::size_t kMostOtherValuesOfAFeed = 8;

[[noreturn]] void refuse(std::string_view property, std::string_view reason) {
  throw QuillonToolUsageError(std::string("The population's ").append(property).append(" ").append(reason));
}

template <typename Value>
void add(FeedPopulation::Shares<Value>& shares, Value value, std::size_t most) {
  const bool isKnown = std::ranges::find(shares, value, &FeedPopulation::Share<Value>::value) != shares.end();
  if (!isKnown && shares.size() < most) shares.push_back({.value = std::move(value)});
}

/// Adds the bounds of `range`.
template <typename Add>
void addBounds(std::string_view range, Add add) {
  const std::string_view low = range.substr(0, range.find('-'));
  const std::size_t lastHyphen = range.rfind('-');
  if (!low.empty()) add(low);
  if (lastHyphen != std::string_view::npos && lastHyphen + 1 < range.size()) add(range.substr(lastHyphen + 1));
}

void addValuesOf(const VeskUpdateFeedEntry& entry, FeedPopulation& population) {
  const auto addVersion = [&population](std::string_view version, std::int64_t build) {
    add(population.versions, {.version = std::string(version), .build = build}, kMostVersionsOfAFeed);
  };
  const auto addText = [](FeedPopulation::Shares<std::string>& shares, std::string_view text) {
    if (!text.empty()) add(shares, std::string(text), kMostOtherValuesOfAFeed);
  };
  const std::string_view current = stringOrEmpty(entry, Keys::currentVersion);
  const auto build = decimalNumber<std::int64_t>(stringOrEmpty(entry, Keys::currentBuild));
  if (!current.empty()) addVersion(current, std::max<std::int64_t>(build.value_or(0), 0));
  addBounds(stringOrEmpty(entry, Keys::version), [&addVersion](std::string_view bound) { addVersion(bound, 0); });
  addBounds(stringOrEmpty(entry, Keys::os), [&](std::string_view bound) { addText(population.osVersions, bound); });
  addText(population.languages, stringOrEmpty(entry, Keys::language));
  addText(population.skus, stringOrEmpty(entry, Keys::sku));
}

template <typename Value>
void requireShares(const FeedPopulation::Shares<Value>& shares, std::string_view property) {
  if (shares.size() > FeedPopulation::kMostValues) {
    refuse(property, "have more than " + std::to_string(FeedPopulation::kMostValues) + " values.");
  }
  std::int64_t sum = 0;
  for (const auto& share : shares) {
    if (share.weight < 0 || share.weight > FeedPopulation::kLargestWeight - sum) {
      refuse(property,
             "need weights from 0 on whose sum is at most " + std::to_string(FeedPopulation::kLargestWeight) + ".");
    }
    sum += share.weight;
  }
  if (sum == 0) refuse(property, "need a value with a weight above 0.");
}

void requireNumbers(const FeedPopulation::Shares<std::int64_t>& shares, std::string_view property, std::int64_t least,
                    std::int64_t most) {
  requireShares(shares, property);
  for (const auto& share : shares) {
    if (share.value >= least && share.value <= most) continue;
    refuse(property, "must be whole numbers from " + std::to_string(least) + " to " + std::to_string(most) + ".");
  }
}

}  // namespace

std::string FeedPopulation::Version::text() const {
  return build < 1 ? version : version + "/" + std::to_string(build);
}

FeedPopulation FeedPopulation::suitedTo(const VeskUpdateFeed& feed) {
  FeedPopulation population;
  population.languages = {{.value = "en"}};
  population.skus = {{.value = ""}};
  for (const VeskUpdateFeedEntry entry : feed) {
    if (stringOrEmpty(entry, Keys::type) == Keys::updateType) addValuesOf(entry, population);
  }
  if (population.versions.empty()) population.versions = {{.value = {.version = "1.0"}}};
  if (population.osVersions.empty()) population.osVersions = {{.value = "1.0"}};
  for (std::int64_t group = 0; group < 7; ++group) population.staggerGroups.push_back({.value = group});
  population.checkHours = {{.value = 24, .weight = 70}, {.value = 168, .weight = 20}, {.value = 6, .weight = 10}};
  population.betaPercent = 5;
  return population;
}

void FeedPopulation::validate() const {
  requireShares(versions, "versions");
  requireShares(osVersions, "osVersions");
  requireShares(languages, "languages");
  requireShares(skus, "skus");
  requireNumbers(staggerGroups, "staggerGroups", 0, kLargestStaggerGroup);
  requireNumbers(checkHours, "checkHours", 1, kMostCheckHours);
  if (betaPercent < 0 || betaPercent > 100) refuse("betaPercent", "must be a whole number from 0 to 100.");
  std::size_t audiences = 2;
  for (const std::size_t count : {osVersions.size(), languages.size(), skus.size(), staggerGroups.size()}) {
    audiences *= count;  // at most 1000 times the limit
    if (audiences > kMostAudiences) {
      refuse("values", "make more than " + std::to_string(kMostAudiences) +
                           " combinations of systems, languages, distributions and groups; leave some out.");
    }
  }
}

}  // namespace quillon
