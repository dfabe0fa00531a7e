#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quillon {

/// What a child process finds in its environment.
enum class QuillonProcessEnvironment : std::uint8_t {
  /// This process's own variables.
  inherited,
  /// PATH=/usr/bin:/bin and LANG=C.UTF-8, nothing else: nothing that the caller of a privileged process chose.
  minimal,
};

/// `minimal` for a process with effective user id 0, else `inherited`.
[[nodiscard]] QuillonProcessEnvironment environmentForOwnPrivileges() noexcept;

/// The variables, each "NAME=value".
[[nodiscard]] std::vector<std::string> environmentVariables(QuillonProcessEnvironment environment);

/// Null-terminated pointers into `strings`, as the exec functions take them; valid while `strings` is unchanged.
[[nodiscard]] std::vector<char*> pointersToStrings(std::vector<std::string>& strings);

}  // namespace quillon
