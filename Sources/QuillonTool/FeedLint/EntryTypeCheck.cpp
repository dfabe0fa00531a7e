#include <string_view>

#include "QuillonCore/Text/QuillonCaseFolding.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;

/// Whether somebody who wrote `type` meant an update.
bool looksLikeUpdate(std::string_view type) noexcept {
  while (!type.empty() && type.front() == ' ') type.remove_prefix(1);
  while (!type.empty() && type.back() == ' ') type.remove_suffix(1);
  return equalIgnoringCase(type, Keys::updateType) || equalIgnoringCase(type, "updates");
}

}  // namespace

void checkEntryType(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  const std::string_view type = stringOrEmpty(entry, Keys::type);
  if (type == Keys::updateType) return;
  if (type.empty()) {
    findings.addError(Keys::type, {.problem = "The type is missing, empty or no string.",
                                   .effect = "The entry is no update and is never offered.",
                                   .mend = "Write <string>update</string>."});
  } else if (looksLikeUpdate(type)) {
    findings.addError(Keys::type, {.problem = "The type is " + quotedFeedText(type) + ", which is not \"update\".",
                                   .effect = "The entry is no update and is never offered.",
                                   .mend = "Write <string>update</string>."});
  }
}

}  // namespace quillon
