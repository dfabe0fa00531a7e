#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "QuillonTool/FeedSimulation/FeedAudience.h"
#include "QuillonTool/FeedSimulation/FeedSimulationModel.h"
#include "QuillonTool/FeedSimulation/FeedSimulationResult.h"

namespace quillon {

/// Simulates audiences one after another and adds up what their installs do. Installs with the same version that check
/// in the same hour move together, and the evaluator decides once a day for all installs with the same version.
class FeedAudienceSimulation {
 public:
  /// `model` has to outlive it.
  explicit FeedAudienceSimulation(const FeedSimulationModel& model);

  void simulate(const FeedAudience& audience);
  [[nodiscard]] const FeedSimulationResult& result() const noexcept { return result_; }

 private:
  struct State {
    /// Installs by interval of checks and, within it, hour of the first check; empty when no install was in it.
    std::vector<std::int64_t> installs;
    std::size_t decidedDays = 0;  ///< number of the last day with a decision, from 1
    std::optional<std::size_t> offeredEntry;
  };
  struct Move {
    std::size_t from = 0;
    std::size_t entry = 0;
    std::int64_t installs = 0;
  };

  void start(const FeedAudience& audience);
  void finish();
  void simulateHour(std::size_t day, std::int64_t hour);
  void simulateChecks(std::size_t day, std::int64_t hour, std::size_t slot);
  void take(const Move& move, std::size_t day, std::int64_t hour, std::size_t slot);
  void countInstalls(std::size_t day);
  [[nodiscard]] std::optional<std::size_t> offeredEntry(std::size_t state, std::size_t day);
  State& enter(std::size_t state);

  const FeedSimulationModel& model_;
  FeedSimulationResult result_;

  // Of the audience that is being simulated:
  const FeedAudience* audience_ = nullptr;
  VeskUpdateFeedApplicabilityContext context_;
  std::vector<State> states_;
  /// The states that installs were in.
  std::vector<std::size_t> entered_;
  std::vector<Move> moves_;
};

}  // namespace quillon
