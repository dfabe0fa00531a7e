#pragma once

#include <string>
#include <vector>

namespace quillon {

/// The languages that the user of this process reads, the best one first, as language tags (BCP 47): "de-AT", "pt".
/// Empty when nothing says so.
[[nodiscard]] std::vector<std::string> preferredLanguages();

}  // namespace quillon
