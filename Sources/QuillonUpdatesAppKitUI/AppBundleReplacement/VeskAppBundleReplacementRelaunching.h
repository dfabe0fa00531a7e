#pragma once

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Starts the installed application again. Called on the thread that replaces it.
class VeskAppBundleReplacementRelaunching {
 public:
  virtual ~VeskAppBundleReplacementRelaunching() = default;

  /// Starts the application bundle at `applicationURL`. True only when it was started (or, through a job, handed to the
  /// system that starts it).
  [[nodiscard]] virtual bool relaunchApplication(const QuillonURL& applicationURL) noexcept = 0;
};

}  // namespace quillon
