#pragma once

#include <sys/types.h>

#include <cstdint>

namespace quillon {

/// The process that made the Unix socket pair of `socket`, when it did so with the effective user id `user`. Throws
/// QuillonSystemError, EACCES for another user.
[[nodiscard]] std::int32_t launcherBusPeer(int socket, uid_t user);

}  // namespace quillon
