#include "QuillonTool/FeedAdd/FeedRelease.h"

#include <string_view>

#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/QuillonToolFileOperand.h"

namespace quillon {
namespace {

std::optional<std::string> textOf(const QuillonURL& bundle, std::string_view key,
                                  const QuillonFileManaging& fileManager) {
  std::optional<std::string> text = bundleInformationText(fileManager, bundle, key);
  return text && !text->empty() ? text : std::nullopt;
}

std::string requiredText(const QuillonURL& bundle, std::string_view key, const QuillonFileManaging& fileManager) {
  const std::optional<std::string> text = textOf(bundle, key, fileManager);
  if (!text) throw QuillonError("The Info.plist of " + bundle.path() + " has no text for " + std::string(key));
  return *text;
}

}  // namespace

FeedRelease readFeedRelease(const QuillonURL& bundle, const QuillonFileManaging& fileManager) {
  requireBundle(bundle, fileManager);
  return {.version = requiredText(bundle, "CFBundleShortVersionString", fileManager),
          .build = requiredText(bundle, "CFBundleVersion", fileManager),
          .minimumSystemVersion = textOf(bundle, "LSMinimumSystemVersion", fileManager)};
}

}  // namespace quillon
