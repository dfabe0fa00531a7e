#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementOwnershipMatcher.h"

#include <cerrno>
#include <cstdint>
#include <exception>
#include <optional>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonUUID.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"

namespace quillon {
namespace {

QuillonFileStatus readStatus(const QuillonFileManaging& fileManager, const QuillonURL& item) {
  const std::optional<QuillonFileStatus> status = fileManager.itemStatus(item);
  if (!status) throw QuillonSystemError::posix(ENOENT, "read the owner of", item.path());
  return *status;
}

bool tryChangeOwner(const QuillonFileManaging& fileManager, const QuillonURL& item, std::uint32_t user,
                    std::uint32_t group) {
  try {
    fileManager.changeOwner(item, user, group);
    return true;
  } catch (const QuillonSystemError&) {
    return false;
  }
}

/// A folder that is removed with everything in it.
class ScratchFolder {
 public:
  ScratchFolder(const QuillonFileManaging& fileManager, QuillonURL url)
      : fileManager_(fileManager), url_(std::move(url)) {
    fileManager_.createDirectory(url_);
  }
  ~ScratchFolder() {
    try {
      fileManager_.removeItem(url_);
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): scratch in the temporary folder harms nobody
    }
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] const QuillonURL& url() const noexcept { return url_; }

 private:
  const QuillonFileManaging& fileManager_;
  QuillonURL url_;
};

}  // namespace

bool VeskAppBundleReplacementOwnershipMatcher::processCanMatchInstalledOwnership(
    const QuillonURL& installedApplicationURL) const noexcept {
  try {
    const ScratchFolder scratch(*fileManager_, fileManager_->temporaryDirectory().appendingPathComponent(
                                                   "VeskAppBundleOwnershipMatcher-" + makeUUIDString()));
    const QuillonURL file = scratch.url().appendingPathComponent("permission_test");
    fileManager_->createFile(file, "");
    matchOwnerAndGroupOfItem(file, installedApplicationURL);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void VeskAppBundleReplacementOwnershipMatcher::matchOwnerAndGroupOfItem(const QuillonURL& root,
                                                                        const QuillonURL& reference) const {
  const QuillonFileStatus wanted = readStatus(*fileManager_, reference);
  const QuillonFileStatus current = readStatus(*fileManager_, root);
  if (current.userIdentifier == wanted.userIdentifier && current.groupIdentifier == wanted.groupIdentifier) return;
  if (!tryChangeOwner(*fileManager_, root, wanted.userIdentifier, wanted.groupIdentifier)) {
    if (current.userIdentifier == wanted.userIdentifier) return;
    if (!tryChangeOwner(*fileManager_, root, wanted.userIdentifier, current.groupIdentifier)) {
      throw VeskUpdateInstallerError::replacementFailed();
    }
  }
  if (current.type != QuillonFileType::directory) return;
  try {
    fileManager_->changeOwnerOfDescendants(root, wanted.userIdentifier, wanted.groupIdentifier);
  } catch (const QuillonSystemError&) {
    throw VeskUpdateInstallerError::replacementFailed();
  }
}

}  // namespace quillon
