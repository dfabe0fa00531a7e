#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quillon {

/// How many variables a unit is given at most. The time that a manager spends on them grows with their square, and it
/// answers nobody else meanwhile: 0.1 s for so many.
inline constexpr std::size_t kLargestUnitEnvironment = 2000;

/// How long the variables of a unit may be in all, each with the null byte behind it (bytes). The kernel starts no
/// program with a longer one (MAX_ARG_STRLEN), and a manager forgets what a unit is that takes a line of more than
/// 1 MiB in its file, where a byte becomes up to four.
inline constexpr std::size_t kLongestUnitEnvironment = std::size_t{128} * 1024;

/// What of a process's environment is handed to a unit that goes on for it, in its order: `variables`, each
/// "NAME=value", without
///
/// - what says something about the process itself: what its own service manager, the message bus or the desktop told it
///   when it was started (systemd.exec(5), "Environment Variables Set or Propagated by the Service Manager"),
/// - what systemd refuses, and the whole unit with it: names other than [A-Za-z_][A-Za-z0-9_]*, values that are no
/// UTF-8
///   or have noncharacters of Unicode, and a second variable of a name,
/// - the longest, as many as it takes to keep both limits.
[[nodiscard]] std::vector<std::string> systemdUnitEnvironment(const std::vector<std::string>& variables);

}  // namespace quillon
