#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "QuillonTool/FeedSimulation/FeedSimulationModel.h"
#include "QuillonTool/FeedSimulation/FeedSimulationResult.h"

namespace quillon {

/// A simulation that has ended, with the sums that people ask for. Borrows model and result.
struct FeedSimulationReport {
  struct Day {
    std::int64_t checks = 0;
    std::int64_t downloads = 0;
    std::int64_t bytes = 0;
    /// Downloads in the hour that had most of them.
    std::int64_t mostDownloadsInAnHour = 0;
    /// Installs that have taken at least one entry, at the end of the day.
    std::int64_t updated = 0;

    friend bool operator==(const Day&, const Day&) = default;
  };

  const FeedSimulationModel& model;
  const FeedSimulationResult& result;
  std::int64_t installs = 0;
  std::uint64_t seed = 0;

  [[nodiscard]] Day day(std::size_t index) const;
  /// The number of offers of `entry` on a day; 0 for an entry that was never offered.
  [[nodiscard]] std::int64_t offers(std::size_t entry, std::size_t dayIndex) const;
  /// What people call entry `index`: its offered version and build, else its identifier, else its number from 1. A text
  /// of the feed's, not escaped, of at most 40 characters.
  [[nodiscard]] std::string entryLabel(std::size_t index) const;
  /// Whether the size of every entry that was offered is known, so that bytes mean something.
  [[nodiscard]] bool knowsBytes() const;
  /// What the figures leave out, in one sentence.
  [[nodiscard]] static std::string limits();
};

}  // namespace quillon
