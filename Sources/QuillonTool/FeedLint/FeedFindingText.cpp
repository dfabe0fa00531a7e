#include "QuillonTool/FeedLint/FeedFindingText.h"

#include <optional>

#include "QuillonTool/FeedLint/QuotedFeedText.h"

namespace quillon {
namespace {

/// Where the finding is: "entry 2, important".
std::string placeOf(const FeedFinding& finding) {
  if (!finding.index) return "feed";
  std::string place = "entry " + std::to_string(*finding.index + 1);
  if (finding.key.empty()) return place;
  const std::string quoted = quotedFeedText(finding.key);
  return place + ", " + quoted.substr(1, quoted.size() - 2);
}

}  // namespace

std::string findingLine(const FeedFinding& finding) {
  return placeOf(finding)
      .append(": ")
      .append(severityName(finding.severity))
      .append(": ")
      .append(finding.problem)
      .append(" ")
      .append(finding.effect)
      .append(" ")
      .append(finding.mend);
}

QuillonToolJSONObject findingObject(const FeedFinding& finding) {
  QuillonToolJSONObject object;
  if (finding.index) {
    object.withNumber("index", *finding.index);
  } else {
    object.with("index", std::nullopt);
  }
  return object.with("key", finding.key.empty() ? std::nullopt : std::optional<std::string_view>(finding.key))
      .with("severity", severityName(finding.severity))
      .with("problem", finding.problem)
      .with("effect", finding.effect)
      .with("mend", finding.mend);
}

}  // namespace quillon
