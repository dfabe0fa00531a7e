#include <optional>
#include <string_view>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;

void checkURL(std::string_view key, std::string_view text, FeedEntryFindings& findings) {
  const std::optional<QuillonURL> url = QuillonURL::parse(text);
  if (!url) {
    findings.addError(key, {.problem = quotedFeedText(text) + " is no URL.",
                            .effect = "The host has nothing to load.",
                            .mend = "Write a whole URL, with blanks and the like as percent escapes."});
  } else if (url->scheme() != "https") {
    findings.addError(key, {.problem = "The URL " + quotedFeedText(text) + " is not https.",
                            .effect = "Who sits on the way can read it and send something else.",
                            .mend = "Write an address that begins with https://."});
  }
}

}  // namespace

void checkURLs(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  bool hasAny = false;
  for (const std::string_view key : {Keys::url, Keys::installerURL, Keys::appBundleInstallerURL}) {
    const std::string_view text = stringOrEmpty(entry, key);
    if (text.empty()) continue;
    hasAny = true;
    checkURL(key, text, findings);
  }
  if (hasAny) return;
  findings.addWarning(Keys::appBundleInstallerURL,
                      {.problem = "The entry has neither \"app-installer\" nor \"installer\" nor \"url\".",
                       .effect = "The update is offered, and there is nothing to read or install.",
                       .mend = "Write where the archive of the application can be downloaded."});
}

}  // namespace quillon
