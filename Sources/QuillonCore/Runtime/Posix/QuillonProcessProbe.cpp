#include "QuillonCore/Runtime/QuillonProcessProbe.h"

#include <sys/types.h>

#include <cerrno>
#include <csignal>

namespace quillon {

bool processExists(std::int32_t processIdentifier) noexcept {
  return kill(processIdentifier, 0) == 0 || errno == EPERM;
}

}  // namespace quillon
