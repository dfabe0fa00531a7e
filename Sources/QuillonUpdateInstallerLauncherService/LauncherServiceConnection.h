#pragma once

namespace quillon {

/// Whether whoever started this process did so to have a host served: on Linux it left the connection, on macOS it is
/// launchd.
[[nodiscard]] bool hasInheritedConnection() noexcept;

/// Serves hosts of this process's user. Leaves no core files. Called once, by `main`.
///
/// On Linux it serves the one host of the connection, on this thread, until that is gone and no launch is under way. It
/// closes every descriptor but the standard ones and the connection's, and lets the signals of the host's terminal
/// pass. Throws QuillonSystemError, EACCES for the connection of another user. On macOS it serves every connection of
/// the application, on threads of the system, refuses those of another user, and does not return.
void serveInheritedConnection();

}  // namespace quillon
