#pragma once

#include <cstddef>

namespace quillon::testing {

/// How many descriptors and threads this process has.
struct ProcessResources {
  std::size_t descriptors = 0;
  std::size_t threads = 0;

  [[nodiscard]] static ProcessResources current();

  friend bool operator==(const ProcessResources&, const ProcessResources&) = default;
};

/// Looks until this process has no more than `expected`: a thread that was joined is counted for a moment still. False
/// when it has more in many looks.
[[nodiscard]] bool waitForResources(const ProcessResources& expected);

}  // namespace quillon::testing
