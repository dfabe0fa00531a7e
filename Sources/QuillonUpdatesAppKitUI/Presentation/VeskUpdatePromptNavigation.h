#pragma once

#include <optional>

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Somewhere that the page in the prompt wants to go.
struct VeskUpdatePromptNavigation {
  /// The user activated a link. Everything else (the first load, redirects, reloads, scripts) goes by itself.
  bool isLinkActivated = false;
  /// Absent when the navigation has none, or one that is no URL.
  std::optional<QuillonURL> url;
};

enum class VeskUpdatePromptNavigationPolicy {
  /// The page goes there.
  allow,
  /// The page stays; the URL is opened in the user's browser.
  openInBrowser,
  /// The page stays.
  cancel,
};

/// What becomes of `navigation` in a prompt that was made to show the page `releaseNotesURL`.
///
/// A link opens in the browser, never inside the prompt. Only web pages and mail addresses go there: the desktop would
/// start a program for a link to a file. What goes by itself is allowed, except to schemes that no release notes need:
/// a page can be anybody's, and must not reach files of this machine or wake other applications.
[[nodiscard]] VeskUpdatePromptNavigationPolicy promptNavigationPolicy(
    const VeskUpdatePromptNavigation& navigation, const std::optional<QuillonURL>& releaseNotesURL) noexcept;

}  // namespace quillon
