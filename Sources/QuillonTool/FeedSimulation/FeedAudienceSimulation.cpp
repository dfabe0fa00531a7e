#include "QuillonTool/FeedSimulation/FeedAudienceSimulation.h"

#include <numeric>
#include <utility>

namespace quillon {

FeedAudienceSimulation::FeedAudienceSimulation(const FeedSimulationModel& model)
    : model_(model), states_(model.states().size()) {
  result_.hours.resize(static_cast<std::size_t>(model.period().hourCount()));
}

void FeedAudienceSimulation::simulate(const FeedAudience& audience) {
  start(audience);
  const std::vector<FeedSimulationPeriod::Day>& days = model_.period().days();
  for (std::size_t day = 0; day < days.size(); ++day) {
    for (std::int64_t hour = 0; hour < days[day].hourCount; ++hour) simulateHour(day, days[day].firstHour + hour);
    countInstalls(day);
  }
  finish();
}

void FeedAudienceSimulation::start(const FeedAudience& audience) {
  audience_ = &audience;
  context_ = model_.contextOf(audience);
  const FeedPopulation& population = model_.population();
  std::vector<std::size_t> firstSlots(population.checkHours.size());
  for (std::size_t i = 1; i < firstSlots.size(); ++i) {
    firstSlots[i] = firstSlots[i - 1] + static_cast<std::size_t>(population.checkHours[i - 1].value);
  }
  for (const FeedCohort& cohort : feedCohorts(population, audience)) {
    const std::size_t slot = firstSlots[cohort.checkHours] + static_cast<std::size_t>(cohort.firstCheck);
    enter(FeedInstalledVersions::stateOfVersion(cohort.version)).installs[slot] += cohort.installs;
  }
}

void FeedAudienceSimulation::finish() {
  for (const std::size_t state : entered_) states_[state] = {};
  entered_.clear();
}

void FeedAudienceSimulation::simulateHour(std::size_t day, std::int64_t hour) {
  std::size_t firstSlot = 0;
  for (const auto& interval : model_.population().checkHours) {
    simulateChecks(day, hour, firstSlot + static_cast<std::size_t>(hour % interval.value));
    firstSlot += static_cast<std::size_t>(interval.value);
  }
}

/// The checks of all installs in `slot`. Each checks once: moves are made when all have been decided.
void FeedAudienceSimulation::simulateChecks(std::size_t day, std::int64_t hour, std::size_t slot) {
  moves_.clear();
  for (const std::size_t state : entered_) {
    std::int64_t& installs = states_[state].installs[slot];
    if (installs == 0) continue;
    result_.hours[static_cast<std::size_t>(hour)].checks += installs;
    if (const std::optional<std::size_t> entry = offeredEntry(state, day)) {
      moves_.push_back({.from = state, .entry = *entry, .installs = std::exchange(installs, 0)});
    }
  }
  for (const Move& move : moves_) take(move, day, hour, slot);
}

void FeedAudienceSimulation::take(const Move& move, std::size_t day, std::int64_t hour, std::size_t slot) {
  enter(model_.states().stateAfterEntry(move.entry)).installs[slot] += move.installs;

  FeedSimulationResult::Hour& counted = result_.hours[static_cast<std::size_t>(hour)];
  counted.downloads += move.installs;
  counted.bytes += move.installs * model_.archiveSizes().bytes(move.entry).value_or(0);

  FeedSimulationResult::Offers& offers = result_.offersByEntry[move.entry];
  offers.byDay.resize(model_.period().days().size());
  offers.byDay[day] += move.installs;
  offers.byState[move.from] += move.installs;
  offers.byOSVersion[audience_->osVersion] += move.installs;
  offers.byLanguage[audience_->language] += move.installs;
  offers.bySKU[audience_->sku] += move.installs;
  offers.byStaggerGroup[audience_->staggerGroup] += move.installs;
  if (audience_->wantsBetas) offers.toBetaTesters += move.installs;
}

void FeedAudienceSimulation::countInstalls(std::size_t day) {
  for (const std::size_t state : entered_) {
    const std::vector<std::int64_t>& installs = states_[state].installs;
    std::vector<std::int64_t>& counts = result_.installsByState[state];
    counts.resize(model_.period().days().size());
    counts[day] += std::accumulate(installs.begin(), installs.end(), std::int64_t{0});
  }
}

/// The evaluator's decision of `day` for the audience's installs in `state`. After an entry that names no version they
/// stay as they are: the evaluator would offer it to them again and again.
std::optional<std::size_t> FeedAudienceSimulation::offeredEntry(std::size_t state, std::size_t day) {
  const std::optional<FeedPopulation::Version>& version = model_.states().version(state);
  if (!version) return std::nullopt;
  State& decided = states_[state];
  if (decided.decidedDays != day + 1) {
    context_.appVersion = version->version;
    context_.appBuild = version->build;
    context_.now = model_.period().days()[day].noon;
    decided.offeredEntry = model_.offeredEntry(context_);
    decided.decidedDays = day + 1;
  }
  return decided.offeredEntry;
}

FeedAudienceSimulation::State& FeedAudienceSimulation::enter(std::size_t state) {
  State& entered = states_[state];
  if (entered.installs.empty()) {
    std::size_t slots = 0;
    for (const auto& interval : model_.population().checkHours) slots += static_cast<std::size_t>(interval.value);
    entered.installs.resize(slots);
    entered_.push_back(state);
  }
  return entered;
}

}  // namespace quillon
