#include "QuillonTool/FeedLint/FeedLint.h"

#include <algorithm>
#include <array>
#include <utility>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/ShadowedEntriesCheck.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParserError.h"

namespace quillon {
namespace {

constexpr std::array<FeedEntryCheck, 11> kUpdateChecks = {
    checkUnknownKeys, checkValueTypes,  checkIdentifier, checkVersionRanges, checkOfferedVersion, checkOfferedBuild,
    checkImportance,  checkReleaseDate, checkInterval,   checkURLs,          checkPromptSize};

void checkEntry(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  checkEntryType(entry, findings);
  checkRepeatedKeys(entry, findings);
  // Entries of other types are between the publisher and the host.
  if (stringOrEmpty(entry, VeskUpdateFeedKeys::type) != VeskUpdateFeedKeys::updateType) return;
  for (const FeedEntryCheck check : kUpdateChecks) check(entry, findings);
}

FeedFinding findingOf(const VeskUpdateFeedParserError& error) {
  if (error.code() == VeskUpdateFeedParserError::Code::feedFailedToParse) {
    return {.problem = "The file is no property list.",
            .effect = "Hosts fail with \"" + error.description() + "\".",
            .mend = "Look for the place with a property-list editor, or write the feed anew."};
  }
  return {.problem = "The file is no array of dictionaries, or an empty one.",
          .effect = "Hosts fail with \"" + error.description() + "\" and offer nothing.",
          .mend = "Write an <array> with a <dict> for each entry and nothing else in it."};
}

}  // namespace

std::size_t FeedLintReport::count(FeedFindingSeverity severity) const noexcept {
  return static_cast<std::size_t>(std::ranges::count(findings, severity, &FeedFinding::severity));
}

FeedLintReport lintFeed(const VeskUpdateFeed& feed) {
  FeedLintReport report{.entryCount = feed.size()};
  std::size_t index = 0;
  for (const VeskUpdateFeedEntry entry : feed) {
    FeedEntryFindings findings(report.findings, index++);
    checkEntry(entry, findings);
  }
  checkShadowedEntries(feed, report.findings);
  std::ranges::stable_sort(report.findings, {}, &FeedFinding::index);
  return report;
}

FeedLintReport lintFeedBytes(std::string bytes) {
  try {
    return lintFeed(VeskUpdateFeedParser().parseFeed(std::move(bytes)));
  } catch (const VeskUpdateFeedParserError& error) {
    return {.findings = {findingOf(error)}};
  }
}

}  // namespace quillon
