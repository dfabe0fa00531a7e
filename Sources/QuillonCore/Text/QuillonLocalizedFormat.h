#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace quillon {

/// `format` with "%@" replaced by the next of `arguments`, "%2$@" by the second, and "%%" by "%".
///
/// A format can come from a table that anybody translated: whatever else follows a "%", and a place without argument,
/// stays as it stands. Arguments are not looked into.
[[nodiscard]] std::string formattedText(std::string_view format, std::initializer_list<std::string_view> arguments);

}  // namespace quillon
