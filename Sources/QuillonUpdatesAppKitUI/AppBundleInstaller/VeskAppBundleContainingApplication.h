#pragma once

#include <optional>
#include <string_view>

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// File name of the launcher service's executable.
inline constexpr std::string_view kInstallerLauncherServiceExecutableName = "QuillonUpdateInstallerLauncherService";

/// The application that a launcher service belongs to: X.app for an executable at
/// X.app/Contents/XPCServices/Y.xpc/Contents/MacOS/QuillonUpdateInstallerLauncherService, none for any other place.
[[nodiscard]] std::optional<QuillonURL> containingApplicationURL(const QuillonURL& serviceExecutableURL);

/// The application that contains the running program: on Linux where it is at present, none once it was removed; on
/// macOS where it was when the program started.
[[nodiscard]] std::optional<QuillonURL> defaultContainingApplicationURL();

}  // namespace quillon
