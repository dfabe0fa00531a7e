#include <string_view>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"

namespace quillon {

void checkRepeatedKeys(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  for (const std::string_view key : entry.repeatedKeys()) {
    findings.addError(key, {.problem = "The key " + quotedFeedText(key) + " stands in the entry more than once.",
                            .effect = "Hosts read its last value and none of the others.",
                            .mend = "Leave the value in that is meant, and the others out."});
  }
}

}  // namespace quillon
