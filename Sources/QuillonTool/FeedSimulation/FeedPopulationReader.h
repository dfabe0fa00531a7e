#pragma once

#include <cstdint>
#include <string_view>

#include "QuillonTool/FeedSimulation/FeedPopulation.h"

namespace quillon {

/// Properties of a population as people write them, on the command line ("1.0=3,1.1/110") or in a property list. Each
/// sets one property of `population` and throws QuillonToolUsageError for a text that is none.
struct FeedPopulationReader {
  FeedPopulation& population;

  /// Sets the property `name`, such as "versions", from values with their weights after "=", between commas; without a
  /// weight it is 1. "betaPercent" is one number.
  void readProperty(std::string_view name, std::string_view text) const;

  /// Sets the properties in `bytes`, a property list: a dictionary in which each property is a dictionary of weights by
  /// value, and "betaPercent" a number.
  void readPropertyList(std::string_view bytes) const;
};

}  // namespace quillon
