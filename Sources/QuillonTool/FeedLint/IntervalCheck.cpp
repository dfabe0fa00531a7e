#include <cstdint>
#include <optional>
#include <string_view>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;

void addNotPositive(FeedEntryFindings& findings) {
  findings.addWarning(Keys::interval,
                      {.problem = "The interval is not above 0.",
                       .effect = "0 gives the host's own default, less than 0 the shortest interval that it allows.",
                       .mend = "Write the seconds until the feed is to be fetched again, or leave the key out."});
}

}  // namespace

void checkInterval(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  const std::optional<VeskUpdateFeedEntry> value = entry.find(Keys::interval);
  if (!value) return;
  if (const auto text = value->stringIf(); text && !text->empty()) {
    const std::optional<std::int64_t> seconds = decimalNumber<std::int64_t>(*text);
    if (!seconds) {
      findings.addError(Keys::interval,
                        {.problem = "The interval " + quotedFeedText(*text) + " is no whole number of 64 bits.",
                         .effect = "It counts as missing: the host's own default is taken.",
                         .mend = "Write the seconds in digits only."});
    } else if (*seconds <= 0) {
      addNotPositive(findings);
    }
  } else if (value->integerIf().value_or(1) <= 0 || value->realIf().value_or(1) < 1) {
    addNotPositive(findings);
  }
}

}  // namespace quillon
