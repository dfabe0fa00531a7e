#pragma once

#include <cstdint>
#include <string>

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineResult.h"

namespace quillon {

/// A check's result, and what the host wants to be done with it.
struct VeskUpdateFeedPipelineApplicationInput {
  VeskUpdateFeedPipelineResult pipelineResult;
  bool canProcessUpdateFeeds = false;
  /// The host would tell the user when this check finds nothing.
  bool shouldConfirmNoUpdatesDialog = false;
  /// The host wants to know when to fetch the feed again.
  bool shouldSetSleepInterval = false;
  /// The identifiers that the host remembers, by type of entry.
  QuillonPropertyListValue::Dictionary existingNewsDictionary;
  /// Where in `existingNewsDictionary` this type of entry stands.
  std::string feedTypeKey;
  std::int64_t defaultRefetchIntervalSeconds = 0;
  std::int64_t minimumRefetchIntervalSeconds = 0;
};

}  // namespace quillon
