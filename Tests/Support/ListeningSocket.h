#pragma once

#include <cstdint>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"

namespace quillon::testing {

/// A socket that listens at a free port of 127.0.0.1: who connects waits until somebody serves it.
struct ListeningSocket {
  FileDescriptor descriptor;
  std::uint16_t port = 0;

  /// Throws std::system_error.
  [[nodiscard]] static ListeningSocket make();
};

}  // namespace quillon::testing
