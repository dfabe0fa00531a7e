#pragma once

#include <cstdint>
#include <optional>

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Somewhere that the page in the prompt wants to go.
struct VeskUpdatePromptNavigation {
  /// The user activated a link. Everything else (the first load, redirects, reloads, scripts) goes by itself.
  bool isLinkActivated = false;
  /// It is known to take the place of the whole page, and not to fill a frame within it.
  bool replacesPage = false;
  /// Absent when the navigation has none, or one that is no URL.
  std::optional<QuillonURL> url;
};

enum class VeskUpdatePromptNavigationPolicy {
  /// The page goes there.
  allow,
  /// The page stays; the URL is opened with the application that the desktop has for it, mostly the browser.
  openWithWorkspace,
  /// The page stays.
  cancel,
};

/// What becomes of `navigation` in a prompt that was made to show the page `releaseNotesURL`.
///
/// A link that the user activates opens with the desktop, never inside the prompt, unless it leads to a file, for which
/// the desktop could start a program, or has meaning in its page only (scripts, data). What goes by itself is allowed,
/// except to schemes that no release notes need: a page can be anybody's, and must not reach files of this machine or
/// wake other applications. Nor may it leave an empty window behind: see isPromptPage.
[[nodiscard]] VeskUpdatePromptNavigationPolicy promptNavigationPolicy(
    const VeskUpdatePromptNavigation& navigation, const std::optional<QuillonURL>& releaseNotesURL) noexcept;

/// Whether what stands at `url` can be the page of a prompt. Frames within a page may be empty or have their content in
/// their address; what is shown as the page may not.
[[nodiscard]] bool isPromptPage(const std::optional<QuillonURL>& url) noexcept;

/// What a server answered to a navigation.
struct VeskUpdatePromptNavigationAnswer {
  /// It is the page, and not a part of it.
  bool isPage = false;
  /// The web engine can show content of its type; it would download the rest.
  bool canBeShown = false;
  /// Absent when it did not come by HTTP.
  std::optional<std::int64_t> httpStatusCode = std::nullopt;
};

/// Whether the prompt shows it: nothing that would be downloaded, and not what a server answers instead of the page.
[[nodiscard]] bool showsPromptNavigationAnswer(const VeskUpdatePromptNavigationAnswer& answer) noexcept;

}  // namespace quillon
