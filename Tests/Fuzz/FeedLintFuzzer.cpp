// The input is a file that is linted. Whatever it is, linting ends; each finding names an entry of the feed and says
// what, why and how to mend it, in lines of bounded length; no entry that is said to be never offered is offered; and
// explaining the feed says of each entry what the pipeline does with it.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "QuillonTool/FeedExplain/FeedExplanation.h"
#include "QuillonTool/FeedLint/FeedFindingText.h"
#include "QuillonTool/FeedLint/FeedLint.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParserError.h"

namespace {

using namespace quillon;

constexpr std::size_t kLongestText = 512;

void require(bool holds) {
  if (!holds) std::abort();
}

FeedCheckContext installation(unsigned bits) {
  FeedCheckContext context;
  VeskUpdateFeedApplicabilityContext& applicability = context.applicability;
  applicability.appVersion = (bits & 1) != 0 ? "2.1" : "1.0.0b1";
  applicability.appBuild = 119;
  applicability.currentOSVersion = "14.2";
  applicability.preferredLanguageCode = "en";
  applicability.acceptedSKUs = {"mas"};
  applicability.canProcessUpdateFeeds = true;
  applicability.isManualCheck = (bits & 2) != 0;
  applicability.shouldApplyUserStaggering = (bits & 4) != 0;
  applicability.userStaggerGroup = 3;
  applicability.now = std::chrono::sys_days(std::chrono::year(2024) / 6 / 15);
  context.display.appVersion = applicability.appVersion;
  context.display.canProcessUpdateFeeds = true;
  context.display.now = applicability.now;
  context.display.isManualCheck = applicability.isManualCheck;
  context.display.checkUpdatesAfterHours = 24;
  if ((bits & 4) != 0) context.display.lastNewsDisplayedDate = context.display.now - std::chrono::hours(1);
  return context;
}

void requireSound(const FeedFinding& finding, std::size_t entryCount) {
  require(!finding.index || *finding.index < entryCount);
  for (const std::string& text : {finding.problem, finding.effect, finding.mend}) {
    require(!text.empty() && text.size() < kLongestText);
  }
  require(!findingLine(finding).empty() && !findingObject(finding).text().empty());
}

void requireSoundExplanation(const VeskUpdateFeed& feed, const FeedLintReport& report, unsigned bits) {
  const FeedCheckContext context = installation(bits);
  std::optional<std::size_t> first;
  const auto offered = explainFeed(feed, context, [&first](const FeedEntryExplanation& entry) {
    const bool canBeOffered = entry.applicability.shouldProcessFeed && entry.display.isEligibleForProcessing;
    require(canBeOffered == (entry.decidingTest() == nullptr));
    require(!entry.json().text().empty());
    if (canBeOffered && !first) first = entry.index;
  });
  require(offered == first);
  for (const FeedFinding& finding : report.findings) {
    const bool isNever = finding.effect == "The entry is never offered." ||
                         finding.effect == "The entry is no update and is never offered.";
    require(!isNever || !offered || finding.index != offered);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const FeedLintReport report = lintFeedBytes(bytes);
  for (const FeedFinding& finding : report.findings) requireSound(finding, report.entryCount);
  try {
    const VeskUpdateFeed feed = VeskUpdateFeedParser().parseFeed(bytes);
    require(feed.size() == report.entryCount);
    for (unsigned bits = 0; bits < 8; ++bits) requireSoundExplanation(feed, report, bits);
  } catch (const VeskUpdateFeedParserError&) {
    require(report.findings.size() == 1 && !report.findings.front().index);
  }
  return 0;
}
