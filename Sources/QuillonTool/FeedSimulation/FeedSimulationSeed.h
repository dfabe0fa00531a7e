#pragma once

#include <cstdint>

namespace quillon {

/// A pseudo-random number for every place in a tree of decisions: the same for the same seed and place, whatever was
/// asked before and on whatever thread. The generator is SplitMix64 (Steele, Lea, Flood 2014).
class FeedSimulationSeed {
 public:
  explicit constexpr FeedSimulationSeed(std::uint64_t seed) noexcept : state_(mixed(seed)) {}

  /// The seed of the decisions that follow when alternative `index` was taken.
  [[nodiscard]] constexpr FeedSimulationSeed child(std::uint64_t index) const noexcept {
    return FeedSimulationSeed(state_ + (index + 1) * kStep);
  }

  /// A number from 0 to `limit` - 1. The limits in use are below 2^20, so that no number is favoured noticeably.
  [[nodiscard]] constexpr std::int64_t numberBelow(std::int64_t limit) const noexcept {
    return static_cast<std::int64_t>(mixed(state_ ^ kStep) % static_cast<std::uint64_t>(limit));
  }

  friend constexpr bool operator==(FeedSimulationSeed, FeedSimulationSeed) = default;

 private:
  static constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15;

  static constexpr std::uint64_t mixed(std::uint64_t x) noexcept {
    x += kStep;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EB;
    return x ^ (x >> 31);
  }

  std::uint64_t state_;
};

}  // namespace quillon
