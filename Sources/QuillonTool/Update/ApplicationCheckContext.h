#pragma once

#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonDate.h"
#include "QuillonCore/Values/QuillonSystemVersion.h"
#include "QuillonTool/FeedExplain/FeedCheckContext.h"
#include "QuillonTool/Update/InstalledApplication.h"
#include "QuillonTool/Update/UpdateOptions.h"
#include "QuillonUpdatesCore/VeskUpdateMemory.h"

namespace quillon {

/// The machine and user that an update is for.
struct UpdateEnvironment {
  QuillonSystemVersion systemVersion;
  /// Language tags, the best one first.
  std::vector<std::string> languages;
};

/// The installation as the evaluations of a feed see it. A check that is not scheduled is one that the user asked for.
[[nodiscard]] FeedCheckContext makeFeedCheckContext(const InstalledApplication& application,
                                                    const VeskUpdateMemory& memory, const UpdateOptions& options,
                                                    const UpdateEnvironment& environment, QuillonDate now);

}  // namespace quillon
