#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// The value of an environment variable; null when it is not set or not to be believed.
using QuillonEnvironmentLookup = std::function<const char*(const char* name)>;

/// A folder of the XDG Base Directory Specification: what the variable `name` says, else `belowHome` in the user's home
/// folder: that of "HOME", else that of the user database. The specification has relative paths ignored. Absent when
/// the user has no home.
[[nodiscard]] std::optional<QuillonURL> baseDirectory(const char* name, std::string_view belowHome,
                                                      const QuillonEnvironmentLookup& environment);

/// The same with the environment of this process. A privileged process believes none of it: its caller may have set it.
[[nodiscard]] std::optional<QuillonURL> baseDirectory(const char* name, std::string_view belowHome);

}  // namespace quillon
