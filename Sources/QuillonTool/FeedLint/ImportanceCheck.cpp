#include <string_view>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {

void checkImportance(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  using Keys = VeskUpdateFeedKeys;
  const std::string_view important = stringOrEmpty(entry, Keys::important);
  if (important.empty() || important == "1" || important == "0") return;
  findings.addError(Keys::important, {.problem = "The value " + quotedFeedText(important) + " is not \"1\".",
                                      .effect = "The entry is not important: staggering holds it back.",
                                      .mend = "Write <string>1</string>, or leave the key out."});
}

}  // namespace quillon
