#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusPeer.h"

#include <sys/socket.h>

#include <cerrno>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

std::int32_t launcherBusPeer(int socket, uid_t user) {
  ucred credentials{};
  socklen_t length = sizeof credentials;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
    throw QuillonSystemError::posix(errno, "identify", "the host");
  }
  // A socket without credentials (of another family) has process 0 and user -1.
  if (credentials.pid <= 0 || credentials.uid != user) throw QuillonSystemError::posix(EACCES, "serve", "the host");
  return credentials.pid;
}

}  // namespace quillon
