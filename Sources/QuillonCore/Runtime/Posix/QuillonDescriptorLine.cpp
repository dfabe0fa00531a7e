#include "QuillonCore/Runtime/Posix/QuillonDescriptorLine.h"

#include <unistd.h>

#include <cerrno>

#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"

namespace quillon {

void writeLine(int descriptor, std::string_view line) noexcept {
  const WriteSignalShield shield;
  while (!line.empty()) {
    const ssize_t written = write(descriptor, line.data(), line.size());
    if (written > 0) {
      line.remove_prefix(static_cast<std::size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      return;
    }
  }
}

}  // namespace quillon
