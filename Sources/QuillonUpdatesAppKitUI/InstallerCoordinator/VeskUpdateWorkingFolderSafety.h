#pragma once

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Keeps updates out of the hands of other users where they are unpacked.
struct VeskUpdateWorkingFolderSafety {
  VeskUpdateWorkingFolderSafety() = delete;

  /// Whether nobody but this user, and root, can have made `item` or can change it or put something else in its place.
  /// Only what lies below the folder for temporary files, where others make items too, is looked at: every level must
  /// be this user's own, no link, and closed to the writing of others or behind a folder that others cannot enter, and
  /// that folder must let nobody take away what is not theirs. False for what is not there or cannot be looked at.
  [[nodiscard]] static bool isOutOfOthersReach(const QuillonFileManaging& fileManager, const QuillonURL& item) noexcept;
  /// The same of `folder`, or where that is missing of the nearest folder above it that is there: what others put on
  /// the way would lead the making of the rest elsewhere.
  [[nodiscard]] static bool canBeMadeOutOfOthersReach(const QuillonFileManaging& fileManager,
                                                      const QuillonURL& folder) noexcept;
};

}  // namespace quillon
