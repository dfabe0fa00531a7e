#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplier.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

/// `number` without its fraction, held to 64 bits; 0 when it is none.
std::int64_t integerOf(double number) noexcept {
  using Limits = std::numeric_limits<std::int64_t>;
  constexpr double kTwoToThe63 = 9223372036854775808.0;
  if (std::isnan(number)) return 0;
  if (number >= kTwoToThe63) return Limits::max();
  if (number < -kTwoToThe63) return Limits::min();
  return static_cast<std::int64_t>(number);
}

/// The seconds that the entry asks for; 0 when it asks for none.
std::int64_t requestedInterval(const VeskUpdateFeedEntry& feed) noexcept {
  const std::optional<VeskUpdateFeedEntry> value = feed.find(VeskUpdateFeedKeys::interval);
  if (!value) return 0;
  if (const auto text = value->stringIf()) return decimalNumber<std::int64_t>(*text).value_or(0);
  if (const auto number = value->realIf()) return integerOf(*number);
  return value->integerIf().value_or(0);
}

double resolvedSleepInterval(const VeskUpdateFeedEntry& feed, const VeskUpdateFeedPipelineApplicationInput& input) {
  const std::int64_t requested = requestedInterval(feed);
  // The default is the host's own and may be less than what feeds are held to.
  if (requested == 0) return static_cast<double>(std::max<std::int64_t>(input.defaultRefetchIntervalSeconds, 0));
  return static_cast<double>(std::max(requested, input.minimumRefetchIntervalSeconds));
}

}  // namespace

VeskUpdateFeedPipelineApplicationResult VeskUpdateFeedPipelineApplier::apply(
    const VeskUpdateFeedPipelineApplicationInput& input, const DisplaySelectedUpdate& displaySelectedUpdate) const {
  VeskUpdateFeedPipelineApplicationResult result;
  result.shouldMarkUpdateCheckPerformedOK = input.shouldConfirmNoUpdatesDialog && input.canProcessUpdateFeeds;
  const std::optional<VeskUpdateFeedProcessingCandidate>& candidate = input.pipelineResult.selectedCandidate;
  if (!candidate || !candidate->display.resolvedFeedIdentifier) return result;

  if (candidate->display.shouldDisplayNow && displaySelectedUpdate(candidate->feed)) {
    result.updatedNewsDictionary = input.existingNewsDictionary;
    result.updatedNewsDictionary->insert_or_assign(
        input.feedTypeKey, QuillonPropertyListValue(*candidate->display.resolvedFeedIdentifier));
    result.shouldHideNoUpdatesFoundDialog = input.canProcessUpdateFeeds;
  }
  if (input.shouldSetSleepInterval) result.resolvedSleepInterval = resolvedSleepInterval(candidate->feed, input);
  result.didProcessSelectedUpdate = true;
  return result;
}

}  // namespace quillon
