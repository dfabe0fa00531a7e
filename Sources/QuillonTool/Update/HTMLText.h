#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillon {

/// What a simple HTML page says, as plain text: tags and comments are gone, scripts, styles and the page's title with
/// all they hold; blocks begin lines, items of lists begin with "- ", and character references are their characters,
/// those of control characters left out. No more than `limit` bytes of `html` are looked at. Takes time linear in them.
[[nodiscard]] std::string textOfHTML(std::string_view html, std::size_t limit);

}  // namespace quillon
