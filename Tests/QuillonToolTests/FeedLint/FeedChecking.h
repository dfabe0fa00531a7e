#pragma once

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {

/// What `check` finds in `entry`, each as "error key: problem".
inline std::vector<std::string> findingsOf(FeedEntryCheck check, const FeedDictionary& entry) {
  std::vector<FeedFinding> found;
  FeedEntryFindings findings(found, 0);
  const VeskUpdateFeed feed = feedOf({entry});
  check(feed.at(0), findings);
  std::vector<std::string> lines;
  for (const FeedFinding& finding : found) {
    lines.push_back(std::string(severityName(finding.severity)) + " " + finding.key + ": " + finding.problem);
  }
  return lines;
}

inline std::vector<std::string> findingsOf(
    FeedEntryCheck check, std::initializer_list<std::pair<const std::string_view, std::string_view>> values) {
  return findingsOf(check, entryOf(values));
}

/// `entry` with a value that need not be a string.
inline FeedDictionary with(FeedDictionary entry, std::string key, QuillonPropertyListValue value) {
  entry.insert_or_assign(std::move(key), std::move(value));
  return entry;
}

}  // namespace quillon
