#pragma once

#include <functional>

#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplicationInput.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplicationResult.h"

namespace quillon {

/// Turns a check's result into what the user sees and the host remembers. Main thread only.
class VeskUpdateFeedPipelineApplier {
 public:
  /// Shows the prompt for an entry, on the main thread; answers whether it was shown.
  using DisplaySelectedUpdate = std::function<bool(const VeskUpdateFeedEntry& feed)>;

  /// Calls `displaySelectedUpdate` once when an entry is to be shown, otherwise not at all.
  [[nodiscard]] VeskUpdateFeedPipelineApplicationResult apply(const VeskUpdateFeedPipelineApplicationInput& input,
                                                              const DisplaySelectedUpdate& displaySelectedUpdate) const;
};

}  // namespace quillon
