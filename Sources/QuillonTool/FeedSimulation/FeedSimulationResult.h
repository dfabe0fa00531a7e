#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace quillon {

/// What the installs of a simulation, or of a part of it, did. Numbers count installs unless they say otherwise.
struct FeedSimulationResult {
  struct Hour {
    std::int64_t checks = 0;
    std::int64_t downloads = 0;
    std::int64_t bytes = 0;

    friend bool operator==(const Hour&, const Hour&) = default;
  };
  /// By position of a value in the population's property.
  using CountByValue = std::map<std::size_t, std::int64_t>;
  /// To whom an entry was offered. Whoever is offered an update takes it, so these are its downloads too.
  struct Offers {
    std::vector<std::int64_t> byDay;
    /// By the state (see FeedInstalledVersions) in which the install was before.
    CountByValue byState;
    CountByValue byOSVersion;
    CountByValue byLanguage;
    CountByValue bySKU;
    CountByValue byStaggerGroup;
    /// Of all, those who want betas.
    std::int64_t toBetaTesters = 0;

    [[nodiscard]] std::int64_t total() const noexcept;

    friend bool operator==(const Offers&, const Offers&) = default;
  };

  std::vector<Hour> hours;
  /// By position of the entry in the feed. Only entries that were offered.
  std::map<std::size_t, Offers> offersByEntry;
  /// The installs in a state at the end of each day. Only states in which some were.
  std::map<std::size_t, std::vector<std::int64_t>> installsByState;

  /// Adds what other installs did in the same period.
  void add(const FeedSimulationResult& other);

  friend bool operator==(const FeedSimulationResult&, const FeedSimulationResult&) = default;
};

}  // namespace quillon
