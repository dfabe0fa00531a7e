#pragma once

#include <cstdint>

namespace quillon {

/// Version of the operating system: of macOS, or of the Linux kernel.
struct QuillonSystemVersion {
  std::int64_t major = 0;
  std::int64_t minor = 0;
  std::int64_t patch = 0;

  /// Of the system this process runs on.
  [[nodiscard]] static QuillonSystemVersion running();

  friend bool operator==(const QuillonSystemVersion&, const QuillonSystemVersion&) = default;
};

}  // namespace quillon
