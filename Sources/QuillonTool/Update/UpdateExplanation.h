#pragma once

#include <string>
#include <string_view>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"

namespace quillon {

/// What went wrong and what to do about it, in sentences for whoever updates from a command line.
[[nodiscard]] std::string_view explanation(VeskUpdateInstallerError::Code code) noexcept;

/// The same for the description in a failure report, which begins with the name of a case; of any other one, that it
/// says no more.
[[nodiscard]] std::string_view explanationOfReport(std::string_view errorDescription) noexcept;

/// Whether the failure was in fetching the update rather than in installing it.
[[nodiscard]] bool isDownloadFailure(VeskUpdateInstallerError::Code code) noexcept;

}  // namespace quillon
