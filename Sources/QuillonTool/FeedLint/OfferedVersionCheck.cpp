#include <cstdint>
#include <optional>
#include <string_view>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/FeedVersionRange.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;

/// Whether the entry can be a newer build of the version that it offers, where that is installed.
bool canBeNewBuild(const VeskUpdateFeedEntry& entry) noexcept {
  return decimalNumber<std::int64_t>(stringOrEmpty(entry, Keys::currentBuild)).value_or(0) > 1;
}

}  // namespace

void checkOfferedVersion(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  const std::string_view current = stringOrEmpty(entry, Keys::currentVersion);
  if (current.empty()) {
    findings.addWarning(Keys::currentVersion,
                        {.problem = "The version that the entry offers is missing.",
                         .effect = "The entry counts as newer than every version, also after it was installed.",
                         .mend = "Write the version of the release."});
    return;
  }
  const std::string_view installed = stringOrEmpty(entry, Keys::version);
  if (installed.empty()) return;
  const FeedVersionRange range = FeedVersionRange::parse(installed);
  if (!isNewerThanNothingIn(range, current)) return;
  // Where only the low bound itself is not newer, there may still be a newer build of it.
  if (range.low == current && canBeNewBuild(entry)) return;
  findings.addError(Keys::currentVersion,
                    {.problem = "The version " + quotedFeedText(current) + " is newer than nothing in the range " +
                                quotedFeedText(installed) + ".",
                     .effect = "The entry is never offered.",
                     .mend = "Write into \"version\" the versions that are to be updated."});
}

}  // namespace quillon
