#pragma once

#include <optional>
#include <string>

namespace quillon {

/// Whether an entry is to be processed and shown at this check.
struct VeskUpdateFeedDisplayResult {
  bool isEligibleForProcessing = false;
  bool shouldDisplayNow = false;
  /// The identifier of the applicability result.
  std::optional<std::string> resolvedFeedIdentifier;
  /// The identifier that the host has stored, after a reset that it asked for.
  std::optional<std::string> effectiveStoredFeedIdentifier;

  friend bool operator==(const VeskUpdateFeedDisplayResult&, const VeskUpdateFeedDisplayResult&) = default;
};

}  // namespace quillon
