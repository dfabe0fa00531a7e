#include "QuillonUpdatesCore/VeskUpdateFeedSuppressionEvaluator.h"

namespace quillon {

VeskUpdateFeedSuppressionResult VeskUpdateFeedSuppressionEvaluator::evaluate(
    const VeskUpdateFeed& /*feed*/, const VeskUpdateFeedSuppressionContext& /*context*/) const noexcept {
  return {.isSuppressed = false};
}

}  // namespace quillon
