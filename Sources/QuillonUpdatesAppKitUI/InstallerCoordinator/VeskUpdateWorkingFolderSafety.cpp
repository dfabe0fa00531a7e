#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateWorkingFolderSafety.h"

#include <cstdint>
#include <exception>
#include <optional>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleFileSafety.h"

namespace quillon {
namespace {

constexpr std::uint32_t kOthersWrite = 0022;    // S_IWGRP | S_IWOTH
constexpr std::uint32_t kOwnersRemove = 01000;  // S_ISVTX: in such a folder everybody's items are their own

bool isClosed(const QuillonFileStatus& status) {
  return (status.permissions & kOthersWrite) == 0;
}

bool isOwn(const QuillonFileManaging& fileManager, const QuillonURL& item) {
  const std::optional<QuillonFileStatus> status = fileManager.itemStatus(item);
  return status && status->type != QuillonFileType::symbolicLink && isClosed(*status) &&
         status->userIdentifier == fileManager.effectiveUserIdentifier();
}

bool takesNothingAway(const QuillonFileManaging& fileManager, const QuillonURL& temporary) {
  const std::optional<QuillonFileStatus> status = fileManager.itemStatus(temporary);
  return status && status->type == QuillonFileType::directory &&
         (isClosed(*status) || (status->permissions & kOwnersRemove) != 0) &&
         (status->userIdentifier == 0 || status->userIdentifier == fileManager.effectiveUserIdentifier());
}

}  // namespace

bool VeskUpdateWorkingFolderSafety::isOutOfOthersReach(const QuillonFileManaging& fileManager,
                                                       const QuillonURL& item) noexcept {
  try {
    const QuillonURL resolved = fileManager.resolvingSymbolicLinks(fileManager.temporaryDirectory());
    for (const QuillonURL& temporary : {fileManager.temporaryDirectory(), resolved}) {
      if (!VeskAppBundleFileSafety::contains(temporary.path(), item.path())) continue;
      for (QuillonURL level = item; level != temporary; level = level.deletingLastPathComponent()) {
        if (!isOwn(fileManager, level)) return false;
      }
      return takesNothingAway(fileManager, resolved);
    }
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace quillon
