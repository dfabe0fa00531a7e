#pragma once

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Opens things as the user's desktop would.
class QuillonWorkspaceOpening {
 public:
  virtual ~QuillonWorkspaceOpening() = default;

  /// Opens `item`: starts an application bundle, hands anything else to the application that opens it. True only when
  /// that was really done.
  [[nodiscard]] virtual bool open(const QuillonURL& item) noexcept = 0;
};

}  // namespace quillon
