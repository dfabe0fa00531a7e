#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "QuillonTool/FeedSimulation/FeedPopulation.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {

/// The states in which installs can be: with one of the population's versions, or updated by one of a feed's entries.
class FeedInstalledVersions {
 public:
  FeedInstalledVersions(const FeedPopulation::Shares<FeedPopulation::Version>& versions, const VeskUpdateFeed& feed);

  [[nodiscard]] std::size_t size() const noexcept { return states_.size(); }
  /// The state of installs that start with version `index` of the population.
  [[nodiscard]] static std::size_t stateOfVersion(std::size_t index) noexcept { return index; }
  [[nodiscard]] std::size_t stateAfterEntry(std::size_t entry) const noexcept { return versionCount_ + entry; }
  /// The entry that brings installs into `state`; absent for versions that the population starts with.
  [[nodiscard]] std::optional<std::size_t> entryOf(std::size_t state) const noexcept {
    return state < versionCount_ ? std::nullopt : std::optional(state - versionCount_);
  }
  /// What an install in `state` tells the evaluator. Absent after an entry that names no version: what it installs is
  /// not known.
  [[nodiscard]] const std::optional<FeedPopulation::Version>& version(std::size_t state) const noexcept {
    return states_[state];
  }
  /// A name for people, who count entries from 1.
  [[nodiscard]] std::string label(std::size_t state) const;

 private:
  std::size_t versionCount_;
  std::vector<std::optional<FeedPopulation::Version>> states_;
};

}  // namespace quillon
