#include "QuillonCore/Runtime/Posix/BufferedFileCopy.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace quillon {

int copyThroughBuffer(int from, int to, std::uint64_t remaining) noexcept {
  static constexpr std::size_t kBlock = std::size_t{128} * 1024;
  auto* const buffer = static_cast<char*>(std::malloc(kBlock));
  if (buffer == nullptr) return ENOMEM;
  int error = 0;
  for (;;) {
    const ssize_t count = read(from, buffer, static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, remaining)));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      error = count < 0 ? errno : 0;
      break;
    }
    for (ssize_t written = 0; written < count && error == 0;) {
      const ssize_t step = write(to, buffer + written, static_cast<std::size_t>(count - written));
      if (step >= 0) {
        written += step;
      } else if (errno != EINTR) {
        error = errno;
      }
    }
    if (error != 0) break;
    remaining -= static_cast<std::uint64_t>(count);
  }
  std::free(buffer);
  return error;
}

}  // namespace quillon
