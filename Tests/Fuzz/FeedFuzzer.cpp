// The input is a feed. Whatever it is, parsing ends with a feed or one of two errors; the entry that the pipeline
// offers is the first of the feed whose own evaluation offers it; and what the host is to remember follows from that
// entry.

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParserError.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplier.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

namespace {

using namespace quillon;

constexpr double kDefaultInterval = 600;
constexpr double kMinimumInterval = 3600;

void require(bool holds) {
  if (!holds) std::abort();
}

std::optional<VeskUpdateFeed> parsed(const std::uint8_t* data, std::size_t size) {
  try {
    return VeskUpdateFeedParser().parseFeed(std::string(reinterpret_cast<const char*>(data), size));
  } catch (const VeskUpdateFeedParserError&) {
    return std::nullopt;
  }
}

/// One check: bit 0 makes it a manual one, bit 1 puts staggering in force, bit 2 bypasses the tests, bit 3 leaves the
/// reminder delay running.
struct Check {
  explicit Check(unsigned bits) {
    applicability.appVersion = "2.1";
    applicability.appBuild = 119;
    applicability.currentOSVersion = "14.2";
    applicability.preferredLanguageCode = "en";
    applicability.acceptedSKUs = {"mas"};
    applicability.canProcessUpdateFeeds = true;
    applicability.isManualCheck = (bits & 1) != 0;
    applicability.shouldApplyUserStaggering = (bits & 2) != 0;
    applicability.userStaggerGroup = 3;
    applicability.now = std::chrono::sys_days(std::chrono::year(2024) / 6 / 15);
    applicability.debugBypassApplicabilityChecks = (bits & 4) != 0;
    display.appVersion = applicability.appVersion;
    display.canProcessUpdateFeeds = true;
    display.now = applicability.now;
    display.isManualCheck = applicability.isManualCheck;
    display.checkUpdatesAfterHours = 24;
    if ((bits & 8) != 0) display.lastNewsDisplayedDate = display.now - std::chrono::hours(1);
  }

  VeskUpdateFeedApplicabilityContext applicability;
  VeskUpdateFeedDisplayContext display;
};

/// What can be said of each entry, offered or not. Returns whether the entry by itself would be offered.
bool requireSoundResults(const VeskUpdateFeedEntry& entry, const Check& check) {
  const VeskUpdateVersionComparing compare = &VeskUpdateVersionComparison::compare;
  const VeskUpdateFeedEligibilityEvaluator evaluator;
  const auto applicability = evaluator.evaluateApplicability(entry, check.applicability, compare);
  const auto display = evaluator.evaluateDisplay(entry, applicability, check.display, compare);
  require(applicability.shouldProcessFeed == (applicability.isUpdate || applicability.isNewBuild));
  require(!applicability.isNewBuild || !applicability.isBetaUpdate);
  require(!applicability.shouldProcessFeed || stringOrEmpty(entry, VeskUpdateFeedKeys::type) == "update");
  require(!applicability.resolvedFeedIdentifier || !applicability.resolvedFeedIdentifier->empty());
  require(!display.shouldDisplayNow || display.isEligibleForProcessing);
  require(!display.isEligibleForProcessing || applicability.shouldProcessFeed);
  require(!display.isEligibleForProcessing || display.resolvedFeedIdentifier.has_value());
  require(display.resolvedFeedIdentifier == applicability.resolvedFeedIdentifier);
  return display.isEligibleForProcessing;
}

void requireSoundApplication(const VeskUpdateFeedPipelineResult& pipelineResult) {
  VeskUpdateFeedPipelineApplicationInput input;
  input.pipelineResult = pipelineResult;
  input.canProcessUpdateFeeds = true;
  input.shouldSetSleepInterval = true;
  input.feedTypeKey = "updates";
  input.defaultRefetchIntervalSeconds = static_cast<std::int64_t>(kDefaultInterval);
  input.minimumRefetchIntervalSeconds = static_cast<std::int64_t>(kMinimumInterval);
  int prompts = 0;
  const auto result = VeskUpdateFeedPipelineApplier().apply(input, [&prompts](const VeskUpdateFeedEntry&) {
    ++prompts;
    return true;
  });
  const bool isOffered = pipelineResult.selectedCandidate.has_value();
  require(result.didProcessSelectedUpdate == isOffered);
  require(prompts == (isOffered ? 1 : 0));
  require(result.updatedNewsDictionary.has_value() == isOffered);
  require(result.resolvedSleepInterval.has_value() == isOffered);
  require(!isOffered || *result.resolvedSleepInterval == kDefaultInterval ||
          *result.resolvedSleepInterval >= kMinimumInterval);
}

void requireSoundCheck(const VeskUpdateFeed& feed, const Check& check) {
  const VeskUpdateFeedPipelineResult result = VeskUpdateFeedPipelineEvaluator().evaluate(
      feed, {}, check.applicability, check.display, &VeskUpdateVersionComparison::compare);
  std::optional<std::string> offered;
  for (const VeskUpdateFeedEntry entry : feed) {
    if (requireSoundResults(entry, check) && !offered) {
      const std::string_view identifier = stringOrEmpty(entry, VeskUpdateFeedKeys::uid);
      offered = identifier.empty() ? stringOrEmpty(entry, VeskUpdateFeedKeys::feedVersionID) : identifier;
    }
  }
  require(result.selectedCandidate.has_value() == offered.has_value());
  require(!offered || result.selectedCandidate->display.resolvedFeedIdentifier == offered);
  requireSoundApplication(result);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::optional<VeskUpdateFeed> feed = parsed(data, size);
  if (!feed) return 0;
  require(feed->size() > 0);
  for (unsigned bits = 0; bits < 16; ++bits) requireSoundCheck(*feed, Check(bits));
  return 0;
}
