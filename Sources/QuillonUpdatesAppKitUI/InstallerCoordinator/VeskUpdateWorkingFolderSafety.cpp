#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateWorkingFolderSafety.h"

#include <cstdint>
#include <exception>
#include <optional>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleFileSafety.h"

namespace quillon {
namespace {

constexpr std::uint32_t kOthersWrite = 0022;     // S_IWGRP | S_IWOTH
constexpr std::uint32_t kOthersAnything = 0077;  // S_IRWXG | S_IRWXO
constexpr std::uint32_t kOwnersRemove = 01000;   // S_ISVTX: in such a folder everybody's items are their own

bool isClosed(const QuillonFileStatus& status) {
  return (status.permissions & kOthersWrite) == 0;
}

/// Whether nobody else gets to what is in the folder, so that modes in there do not matter.
bool isPrivateDirectory(const QuillonFileStatus& status) {
  return status.type == QuillonFileType::directory && (status.permissions & kOthersAnything) == 0;
}

/// Whether `item` and the levels above it, up to `temporary`, are this user's own and no links, and each is closed to
/// the writing of others or behind one that others cannot enter.
bool areOwnLevels(const QuillonFileManaging& fileManager, const QuillonURL& item, const QuillonURL& temporary,
                  bool isTemporaryPrivate) {
  bool isOpen = false;
  for (QuillonURL level = item; level != temporary; level = level.deletingLastPathComponent()) {
    const std::optional<QuillonFileStatus> status = fileManager.itemStatus(level);
    if (!status || status->type == QuillonFileType::symbolicLink ||
        status->userIdentifier != fileManager.effectiveUserIdentifier()) {
      return false;
    }
    isOpen = !isClosed(*status) || (isOpen && !isPrivateDirectory(*status));
  }
  return !isOpen || isTemporaryPrivate;
}

bool takesNothingAway(const QuillonFileManaging& fileManager, const QuillonFileStatus& temporary) {
  return temporary.type == QuillonFileType::directory &&
         (isClosed(temporary) || (temporary.permissions & kOwnersRemove) != 0) &&
         (temporary.userIdentifier == 0 || temporary.userIdentifier == fileManager.effectiveUserIdentifier());
}

}  // namespace

bool VeskUpdateWorkingFolderSafety::isOutOfOthersReach(const QuillonFileManaging& fileManager,
                                                       const QuillonURL& item) noexcept {
  try {
    const QuillonURL resolved = fileManager.resolvingSymbolicLinks(fileManager.temporaryDirectory());
    for (const QuillonURL& temporary : {fileManager.temporaryDirectory(), resolved}) {
      if (!VeskAppBundleFileSafety::contains(temporary.path(), item.path())) continue;
      const std::optional<QuillonFileStatus> status = fileManager.itemStatus(resolved);
      return status && takesNothingAway(fileManager, *status) &&
             areOwnLevels(fileManager, item, temporary, isPrivateDirectory(*status));
    }
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

bool VeskUpdateWorkingFolderSafety::canBeMadeOutOfOthersReach(const QuillonFileManaging& fileManager,
                                                              const QuillonURL& folder) noexcept {
  try {
    QuillonURL existing = folder;
    while (existing.path() != "/" && !fileManager.itemStatus(existing)) {
      existing = existing.deletingLastPathComponent();
    }
    return isOutOfOthersReach(fileManager, existing);
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace quillon
