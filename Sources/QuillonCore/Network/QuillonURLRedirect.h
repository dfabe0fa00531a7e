#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonURLRequest.h"

namespace quillon {

/// Whether a response with this status sends its reader to its `Location` (RFC 9110, section 15.4): 301, 302, 303, 307
/// and 308.
[[nodiscard]] bool isRedirectStatus(std::int32_t statusCode) noexcept;

/// `location` with the characters percent-encoded that no URL holds but servers send all the same, such as blanks.
/// Control characters stay, so that a URL made of the result is refused.
[[nodiscard]] std::string percentEncodingStrayCharacters(std::string_view location);

/// The request that follows when `request` was redirected to the absolute URL `target`. Fields with credentials go only
/// to the origin that they were meant for.
///
/// Throws QuillonURLError: `redirectToNonExistentLocation` for a target that is no URL, `unsupportedURL` for one that
/// is neither `http:` nor `https:`, and `secureConnectionFailed` for one that leads from `https:` to `http:`.
[[nodiscard]] QuillonURLRequest requestFollowingRedirect(const QuillonURLRequest& request, std::string_view target);

}  // namespace quillon
