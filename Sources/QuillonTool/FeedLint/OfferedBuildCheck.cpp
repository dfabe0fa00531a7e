#include <cstdint>
#include <optional>
#include <string_view>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {

void checkOfferedBuild(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  using Keys = VeskUpdateFeedKeys;
  const std::string_view text = stringOrEmpty(entry, Keys::currentBuild);
  if (text.empty()) return;
  const std::optional<std::int64_t> build = decimalNumber<std::int64_t>(text);
  if (!build) {
    findings.addError(Keys::currentBuild,
                      {.problem = "The build " + quotedFeedText(text) + " is no whole number of 64 bits.",
                       .effect = "The entry is never offered as a newer build of an installed version.",
                       .mend = "Write digits only."});
  } else if (*build < 1) {
    findings.addWarning(Keys::currentBuild,
                        {.problem = "The build " + quotedFeedText(text) + " is below 1.",
                         .effect = "The entry is never offered as a newer build of an installed version.",
                         .mend = "Write the build of the release, 1 or more."});
  }
}

}  // namespace quillon
