#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptNavigation.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace quillon {
namespace {

using Policy = VeskUpdatePromptNavigationPolicy;

/// Links to files would start programs, and the others mean nothing outside of the page.
constexpr std::array<std::string_view, 5> kSchemesOfNoLink{"file", "javascript", "data", "blob", "about"};
constexpr std::array<std::string_view, 3> kSchemesOfPage{"http", "https", "file"};
/// These have no content but the page's own.
constexpr std::array<std::string_view, 3> kSchemesOfFrame{"about", "data", "blob"};

constexpr std::int64_t kFirstErrorStatus = 400;

template <std::size_t count>
bool isAmong(const std::array<std::string_view, count>& schemes, std::string_view scheme) noexcept {
  return std::ranges::find(schemes, scheme) != schemes.end();
}

}  // namespace

VeskUpdatePromptNavigationPolicy promptNavigationPolicy(const VeskUpdatePromptNavigation& navigation,
                                                        const std::optional<QuillonURL>& releaseNotesURL) noexcept {
  if (!navigation.url) return Policy::allow;
  const std::string_view scheme = navigation.url->scheme();
  if (navigation.isLinkActivated) {
    return isAmong(kSchemesOfNoLink, scheme) ? Policy::cancel : Policy::openWithWorkspace;
  }
  if (navigation.url->isFileURL() && !(releaseNotesURL && releaseNotesURL->isFileURL())) return Policy::cancel;
  if (isPromptPage(navigation.url)) return Policy::allow;
  return !navigation.replacesPage && isAmong(kSchemesOfFrame, scheme) ? Policy::allow : Policy::cancel;
}

bool isPromptPage(const std::optional<QuillonURL>& url) noexcept {
  return url && isAmong(kSchemesOfPage, url->scheme());
}

bool showsPromptNavigationAnswer(const VeskUpdatePromptNavigationAnswer& answer) noexcept {
  if (!answer.canBeShown) return false;
  return !answer.isPage || answer.httpStatusCode.value_or(0) < kFirstErrorStatus;
}

}  // namespace quillon
