#pragma once

#include <string>
#include <string_view>

namespace quillon {

/// `text`, which comes from a feed and may be of any length, between quotation marks; what is longer than a line can
/// hold is cut off at the end of a character and marked by an ellipsis. Control characters stay for the console to
/// escape.
[[nodiscard]] std::string quotedFeedText(std::string_view text);

}  // namespace quillon
