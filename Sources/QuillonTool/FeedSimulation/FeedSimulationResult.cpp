#include "QuillonTool/FeedSimulation/FeedSimulationResult.h"

#include <algorithm>
#include <numeric>

namespace quillon {
namespace {

using Result = FeedSimulationResult;

void addCounts(std::vector<std::int64_t>& counts, const std::vector<std::int64_t>& others) {
  counts.resize(std::max(counts.size(), others.size()));
  for (std::size_t i = 0; i < others.size(); ++i) counts[i] += others[i];
}

void addCounts(Result::CountByValue& counts, const Result::CountByValue& others) {
  for (const auto& [value, count] : others) counts[value] += count;
}

void addOffers(Result::Offers& offers, const Result::Offers& others) {
  addCounts(offers.byDay, others.byDay);
  addCounts(offers.byState, others.byState);
  addCounts(offers.byOSVersion, others.byOSVersion);
  addCounts(offers.byLanguage, others.byLanguage);
  addCounts(offers.bySKU, others.bySKU);
  addCounts(offers.byStaggerGroup, others.byStaggerGroup);
  offers.toBetaTesters += others.toBetaTesters;
}

}  // namespace

std::int64_t FeedSimulationResult::Offers::total() const noexcept {
  return std::accumulate(byDay.begin(), byDay.end(), std::int64_t{0});
}

void FeedSimulationResult::add(const FeedSimulationResult& other) {
  hours.resize(std::max(hours.size(), other.hours.size()));
  for (std::size_t i = 0; i < other.hours.size(); ++i) {
    hours[i].checks += other.hours[i].checks;
    hours[i].downloads += other.hours[i].downloads;
    hours[i].bytes += other.hours[i].bytes;
  }
  for (const auto& [entry, offers] : other.offersByEntry) addOffers(offersByEntry[entry], offers);
  for (const auto& [state, counts] : other.installsByState) addCounts(installsByState[state], counts);
}

}  // namespace quillon
