#pragma once

#include <optional>

#include "QuillonUpdatesCore/VeskUpdateFeedProcessingCandidate.h"
#include "QuillonUpdatesCore/VeskUpdateFeedSuppressionEvaluator.h"

namespace quillon {

/// What a check found in a feed.
struct VeskUpdateFeedPipelineResult {
  VeskUpdateFeedSuppressionResult suppression;
  /// Absent when no entry is to be processed.
  std::optional<VeskUpdateFeedProcessingCandidate> selectedCandidate;
};

}  // namespace quillon
