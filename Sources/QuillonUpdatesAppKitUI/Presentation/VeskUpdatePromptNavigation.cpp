#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptNavigation.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace quillon {
namespace {

using Policy = VeskUpdatePromptNavigationPolicy;

constexpr std::array<std::string_view, 3> kSchemesOfBrowser{"http", "https", "mailto"};
/// Those after the first two have no content but the page's own.
constexpr std::array<std::string_view, 5> kSchemesOfPage{"http", "https", "about", "data", "blob"};

}  // namespace

VeskUpdatePromptNavigationPolicy promptNavigationPolicy(const VeskUpdatePromptNavigation& navigation,
                                                        const std::optional<QuillonURL>& releaseNotesURL) noexcept {
  if (!navigation.url) return Policy::allow;
  const std::string_view scheme = navigation.url->scheme();
  if (navigation.isLinkActivated) {
    const bool isForBrowser = std::ranges::find(kSchemesOfBrowser, scheme) != kSchemesOfBrowser.end();
    return isForBrowser ? Policy::openInBrowser : Policy::cancel;
  }
  if (navigation.url->isFileURL()) {
    return releaseNotesURL && releaseNotesURL->isFileURL() ? Policy::allow : Policy::cancel;
  }
  return std::ranges::find(kSchemesOfPage, scheme) != kSchemesOfPage.end() ? Policy::allow : Policy::cancel;
}

}  // namespace quillon
