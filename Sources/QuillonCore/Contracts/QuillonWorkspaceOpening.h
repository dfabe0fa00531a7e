#pragma once

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Opens things as the user's desktop does. From any thread.
class QuillonWorkspaceOpening {
 public:
  virtual ~QuillonWorkspaceOpening() = default;

  /// Starts the application bundle at `url`, or hands any other file or URL to the application that is responsible for
  /// it. True when a program was started for it; what becomes of that program is not waited for.
  [[nodiscard]] virtual bool open(const QuillonURL& url) noexcept = 0;
};

}  // namespace quillon
