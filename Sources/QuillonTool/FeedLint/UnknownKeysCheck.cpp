#include <optional>
#include <string>
#include <string_view>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/FeedKeyTable.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"

namespace quillon {

void checkUnknownKeys(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  for (const auto& [key, value] : entry.entries()) {
    if (isKnownFeedKey(key)) continue;
    const std::optional<std::string_view> similar = similarFeedKey(key);
    findings.addWarning(key, {.problem = "The key " + quotedFeedText(key) + " is unknown.",
                              .effect = "Hosts pass over it.",
                              .mend = similar ? "Write \"" + std::string(*similar) + "\" if that is meant."
                                              : "Leave it out, unless your own host reads it."});
  }
}

}  // namespace quillon
