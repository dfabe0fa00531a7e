#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {

/// How often each value of a property occurs among the installs. Properties are independent of one another.
struct FeedPopulation {
  /// The largest sum of weights of one property, and the largest number of its values.
  static constexpr std::int64_t kLargestWeight = 1'000'000;
  static constexpr std::size_t kMostValues = 1'000;
  /// The largest number of combinations of system, language, distribution, group and wish for betas.
  static constexpr std::size_t kMostAudiences = 200'000;
  static constexpr std::int64_t kLargestStaggerGroup = 3'650;
  static constexpr std::int64_t kMostCheckHours = 744;

  struct Version {
    std::string version;
    /// Below 1 when it is unknown.
    std::int64_t build = 0;

    /// "VERSION", or "VERSION/BUILD" when the build is known.
    [[nodiscard]] std::string text() const;

    friend bool operator==(const Version&, const Version&) = default;
  };
  template <typename Value>
  struct Share {
    Value value;
    /// Relative to the sum of the property's weights.
    std::int64_t weight = 1;

    friend bool operator==(const Share&, const Share&) = default;
  };
  template <typename Value>
  using Shares = std::vector<Share<Value>>;

  Shares<Version> versions;
  Shares<std::string> osVersions;
  Shares<std::string> languages;
  /// The one way of distribution that an install accepts; empty for none.
  Shares<std::string> skus;
  /// Days that an entry is held back.
  Shares<std::int64_t> staggerGroups;
  /// Hours from one check to the next.
  Shares<std::int64_t> checkHours;
  /// Of 100 installs, those that want betas.
  std::int64_t betaPercent = 0;

  /// A population that is spread evenly over the versions, systems, languages and ways of distribution that `feed`
  /// speaks of; stagger groups 0 to 6, most of it checking once a day.
  [[nodiscard]] static FeedPopulation suitedTo(const VeskUpdateFeed& feed);

  /// Throws QuillonToolUsageError for properties without values, weights and values out of range, too many
  /// combinations.
  void validate() const;

  friend bool operator==(const FeedPopulation&, const FeedPopulation&) = default;
};

}  // namespace quillon
