#include <string_view>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonTool/FeedLint/UniversalTimeCalendar.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
void checkReleaseDate(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  using Keys = VeskUpdateFeedKeys;
  const std::string_view text = stringOrEmpty(entry, Keys::releaseDate);
  if (text.empty() || Keys::releaseDateFormatter(UniversalTimeCalendar()).date(text)) return;
  findings.addError(Keys::releaseDate,
                    {.problem = quotedFeedText(text) + " is no day of the form yyyy-MM-dd that exists.",
                     .effect = "The day counts as long past: staggering holds nobody back.",
                     .mend = "Write a day of the calendar with two digits for month and day, such as 2024-06-01."});
}

}  // namespace quillon
