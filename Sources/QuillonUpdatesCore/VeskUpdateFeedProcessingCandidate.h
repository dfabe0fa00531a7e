#pragma once

#include "QuillonUpdatesCore/VeskUpdateFeed.h"
#include "QuillonUpdatesCore/VeskUpdateFeedApplicabilityResult.h"
#include "QuillonUpdatesCore/VeskUpdateFeedDisplayResult.h"

namespace quillon {

/// The entry that was chosen from a feed, and why.
struct VeskUpdateFeedProcessingCandidate {
  /// Good as long as the feed.
  VeskUpdateFeedEntry feed;
  VeskUpdateFeedApplicabilityResult applicability;
  VeskUpdateFeedDisplayResult display;
};

}  // namespace quillon
