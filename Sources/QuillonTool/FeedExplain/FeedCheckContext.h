#pragma once

#include <vector>

#include "QuillonCore/Values/QuillonDate.h"
#include "QuillonTool/QuillonToolArguments.h"
#include "QuillonUpdatesCore/VeskUpdateFeedApplicabilityContext.h"
#include "QuillonUpdatesCore/VeskUpdateFeedDisplayContext.h"

namespace quillon {

/// An installation that checks for updates, as both evaluations see it.
struct FeedCheckContext {
  VeskUpdateFeedApplicabilityContext applicability;
  VeskUpdateFeedDisplayContext display;
};

/// The options that describe one.
[[nodiscard]] std::vector<QuillonToolOption> feedCheckOptions();

/// The installation that the options of feedCheckOptions() describe. `clock` is the time of the check when none is
/// given. Throws QuillonToolUsageError.
[[nodiscard]] FeedCheckContext readFeedCheckContext(const QuillonToolArguments& arguments, QuillonDate clock);

}  // namespace quillon
