#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "QuillonCore/Values/QuillonDate.h"

namespace quillon {

/// What a host knows when it asks whether to show an entry.
struct VeskUpdateFeedDisplayContext {
  std::string appVersion;
  bool canProcessUpdateFeeds = false;
  QuillonDate now{};
  /// When an entry was last shown.
  std::optional<QuillonDate> lastNewsDisplayedDate;
  /// Reminder delay in hours; below 0 counts as 0.
  std::int64_t checkUpdatesAfterHours = 0;
  /// The user asked for this check.
  bool isManualCheck = false;
  /// Identifier of the entry that was last shown.
  std::optional<std::string> storedFeedIdentifier;
  /// Forget `storedFeedIdentifier`.
  bool shouldResetStoredFeedIdentifier = false;

  friend bool operator==(const VeskUpdateFeedDisplayContext&, const VeskUpdateFeedDisplayContext&) = default;
};

}  // namespace quillon
