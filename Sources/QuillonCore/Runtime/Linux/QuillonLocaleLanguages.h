#pragma once

#include <functional>
#include <string>
#include <vector>

namespace quillon {

/// The languages that the locale's environment variables name (locale(7); "LANGUAGE" as gettext reads it), the best one
/// first, as language tags. `variable` answers the value of a variable, null or empty when it is not set.
[[nodiscard]] std::vector<std::string> languagesOfLocale(const std::function<const char*(const char*)>& variable);

}  // namespace quillon
