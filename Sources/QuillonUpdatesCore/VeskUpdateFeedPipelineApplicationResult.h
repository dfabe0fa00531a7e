#pragma once

#include <optional>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// What a host remembers after a check.
struct VeskUpdateFeedPipelineApplicationResult {
  bool didProcessSelectedUpdate = false;
  bool shouldMarkUpdateCheckPerformedOK = false;
  bool shouldHideNoUpdatesFoundDialog = false;
  /// The identifiers to remember; absent when the host's stay as they are.
  std::optional<QuillonPropertyListValue::Dictionary> updatedNewsDictionary;
  /// Seconds until the feed is fetched again; absent when the host's interval stays as it is.
  std::optional<double> resolvedSleepInterval;

  friend bool operator==(const VeskUpdateFeedPipelineApplicationResult&,
                         const VeskUpdateFeedPipelineApplicationResult&) = default;
};

}  // namespace quillon
