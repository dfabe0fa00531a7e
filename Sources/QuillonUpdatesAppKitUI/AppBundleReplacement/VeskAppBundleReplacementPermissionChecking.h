#pragma once

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Says whether this process can write next to an installed bundle. From any thread, several at
/// once.
class VeskAppBundleReplacementPermissionChecking {
 public:
  virtual ~VeskAppBundleReplacementPermissionChecking() = default;

  /// Whether this process can create files in the folder around `installedApplicationURL`. Any failure answers false.
  [[nodiscard]] virtual bool destinationParentIsWritable(const QuillonURL& installedApplicationURL) const noexcept = 0;
};

}  // namespace quillon
