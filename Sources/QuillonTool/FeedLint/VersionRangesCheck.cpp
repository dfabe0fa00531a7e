#include <optional>
#include <string_view>

#include "QuillonCore/Text/QuillonCharacterClasses.h"
#include "QuillonCore/Text/QuillonScalars.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/FeedVersionRange.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;
using Text = FeedEntryFindings::Text;

bool hasBlank(std::string_view text) noexcept {
  while (!text.empty()) {
    if (isWhitespaceOrNewline(takeFirstScalar(text))) return true;
  }
  return false;
}

bool hasEmptyHighBound(const FeedVersionRange& range) noexcept {
  return range.high && range.high->empty();
}

std::string mendOfNothing(const FeedVersionRange& range) {
  if (hasEmptyHighBound(range)) {
    return "Write " + quotedFeedText(range.low) + ", without hyphen, for that version and everything newer.";
  }
  return "Write the older version first, without blanks: low-high.";
}

void checkRange(std::string_view key, std::string_view text, FeedEntryFindings& findings) {
  const FeedVersionRange range = FeedVersionRange::parse(text);
  if (admitsNothing(range)) {
    findings.addError(key, {.problem = "The range " + quotedFeedText(text) + " admits no version.",
                            .effect = "The entry is never offered.",
                            .mend = mendOfNothing(range)});
    return;
  }
  if (hasEmptyHighBound(range)) {
    findings.addWarning(key, {.problem = "The high bound of the range " + quotedFeedText(text) + " is empty.",
                              .effect = "An empty version is older than every number but 0, so next to nothing is "
                                        "admitted.",
                              .mend = "Write the low bound alone, without hyphen, for everything newer."});
  }
  if (range.hasPiecesBetween) {
    findings.addWarning(key, {.problem = "The range " + quotedFeedText(text) + " has more than one hyphen.",
                              .effect = "What stands between the first and the last hyphen is passed over.",
                              .mend = "Write low-high, with versions that have no hyphen."});
  }
  if (hasBlank(text)) {
    findings.addWarning(key, {.problem = "The range " + quotedFeedText(text) + " has a blank in it.",
                              .effect = "A blank is a part of the version: 1.0 with a blank behind it is newer than "
                                        "1.0, one with a blank before it is older than every number.",
                              .mend = "Write low-high without blanks."});
  }
}

}  // namespace

void checkVersionRanges(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  for (const std::string_view key : {Keys::version, Keys::os}) {
    const std::string_view text = stringOrEmpty(entry, key);
    if (!text.empty()) checkRange(key, text, findings);
  }
}

}  // namespace quillon
