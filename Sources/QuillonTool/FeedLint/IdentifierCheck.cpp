#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {

void checkIdentifier(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  using Keys = VeskUpdateFeedKeys;
  if (!stringOrEmpty(entry, Keys::uid).empty()) return;
  if (stringOrEmpty(entry, Keys::feedVersionID).empty()) {
    findings.addError(Keys::uid, {.problem = "The entry has neither \"id\" nor \"version\".",
                                  .effect = "Nothing identifies it, so it is never shown.",
                                  .mend = "Write an \"id\" that no other release has, such as its version."});
  } else {
    findings.addWarning(Keys::uid, {.problem = "The entry has no \"id\".",
                                    .effect = "The range in \"version\" identifies it: hosts take the next release "
                                              "with the same range for one that they have shown.",
                                    .mend = "Write an \"id\" that no other release has, such as its version."});
  }
}

}  // namespace quillon
