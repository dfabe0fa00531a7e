#pragma once

#include <cstddef>

namespace quillon::testing {

/// How many descriptors, threads and children this process has. A child that has ended counts until it is waited for.
struct ProcessResources {
  std::size_t descriptors = 0;
  std::size_t threads = 0;
  std::size_t children = 0;

  [[nodiscard]] static ProcessResources current();

  friend bool operator==(const ProcessResources&, const ProcessResources&) = default;
};

/// Looks until this process has no more than `expected`: a thread that was joined is counted for a moment still. False
/// when it has more in many looks.
[[nodiscard]] bool waitForResources(const ProcessResources& expected);

/// Makes this process the parent of what its children leave behind, so that it counts as a child.
class ScopedOrphanAdoption {
 public:
  ScopedOrphanAdoption();
  ~ScopedOrphanAdoption();
  ScopedOrphanAdoption(const ScopedOrphanAdoption&) = delete;
  ScopedOrphanAdoption& operator=(const ScopedOrphanAdoption&) = delete;
};

}  // namespace quillon::testing
