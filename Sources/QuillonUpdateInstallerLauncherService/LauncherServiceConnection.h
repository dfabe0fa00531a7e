#pragma once

namespace quillon {

/// Whether whoever started this process left it the connection to a host.
[[nodiscard]] bool hasInheritedConnection() noexcept;

/// Serves that host, on this thread, until it is gone and no launch is under way. Closes every descriptor but the
/// standard ones and the connection's, leaves no core files, and lets the signals of the host's terminal pass. Called
/// once, by `main`. Throws QuillonSystemError, EACCES for the connection of another user.
void serveInheritedConnection();

}  // namespace quillon
