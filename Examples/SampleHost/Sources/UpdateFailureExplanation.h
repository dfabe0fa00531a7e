#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sample {

/// A sentence for users about a failed update, in English: the key of the application's own table of texts. `failure`
/// is the text of a VeskUpdateInstallerError or of a failure report, which begins with the name of the case. Absent
/// where the alert's own text says all that users can make use of.
[[nodiscard]] std::optional<std::string> explanationOfUpdateFailure(std::string_view failure);

}  // namespace sample
