#pragma once

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Hands an installer document to the system. Called on the thread of the operation, not on the main thread.
class VeskUpdateInstallerLaunching {
 public:
  virtual ~VeskUpdateInstallerLaunching() = default;

  /// True when the system accepted the document at the file URL `url`; what becomes of it is not waited for.
  [[nodiscard]] virtual bool open(const QuillonURL& url) noexcept = 0;
};

}  // namespace quillon
