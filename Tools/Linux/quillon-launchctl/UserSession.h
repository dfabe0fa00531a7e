#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "UserAccount.h"

namespace quillon {

/// The environment, each variable "NAME=value", that a program started for `account` finds: the account's own
/// variables, the user's run-time folder and message bus where they exist, and the display and language of the user's
/// session, taken from a process of that user.
///
/// Called as that user, so that nothing is read which the user may not read. `processFolder` is "/proc".
[[nodiscard]] std::vector<std::string> sessionEnvironment(const UserAccount& account,
                                                          const std::filesystem::path& processFolder = "/proc");

}  // namespace quillon
