#pragma once

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Keeps what was handed over to an installer of which nobody knows whether it was started.
///
/// Its folder must stay, as the installer may be waiting for the host to quit. If there is none nobody comes for the
/// folder, so an empty file beside it marks it as one that a later attempt removes.
struct VeskUpdateUncertainHandOff {
  VeskUpdateUncertainHandOff() = delete;

  /// Marks `folder`, which has a UUID as its name. Any failure is forgiven.
  static void mark(const QuillonFileManaging& fileManager, const QuillonURL& folder) noexcept;
  /// Removes the marked folders in `workingFolder` and their marks, unless somebody else can have made them. What
  /// cannot be removed stays for the next time.
  static void removeMarkedFolders(const QuillonFileManaging& fileManager, const QuillonURL& workingFolder) noexcept;
};

}  // namespace quillon
