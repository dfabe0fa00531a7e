#pragma once

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Gives files the owner and group of an installed bundle.
///
/// Implementations hold no mutable state and may be called from any thread.
class VeskAppBundleReplacementOwnershipMatching {
 public:
  virtual ~VeskAppBundleReplacementOwnershipMatching() = default;

  /// Whether this process could give a new file the owner and group of `installedApplicationURL`. Tries it on a scratch
  /// file, which is gone on return. Any failure answers false.
  [[nodiscard]] virtual bool processCanMatchInstalledOwnership(
      const QuillonURL& installedApplicationURL) const noexcept = 0;

  /// Gives `root`, and everything below it, the owner and group of `reference`. Changes symbolic links themselves,
  /// never their targets. A failure can leave the tree half changed.
  ///
  /// Throws VeskUpdateInstallerError::replacementFailed, or the QuillonSystemError of reading attributes.
  virtual void matchOwnerAndGroupOfItem(const QuillonURL& root, const QuillonURL& reference) const = 0;
};

}  // namespace quillon
