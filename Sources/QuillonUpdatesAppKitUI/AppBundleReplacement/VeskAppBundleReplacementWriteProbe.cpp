#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementWriteProbe.h"

#include <exception>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonUUID.h"

namespace quillon {

bool VeskAppBundleReplacementWriteProbe::destinationParentIsWritable(
    const QuillonURL& installedApplicationURL) const noexcept {
  try {
    const QuillonURL probe = installedApplicationURL.deletingLastPathComponent().appendingPathComponent(
        "vesk-update-write-" + makeUUIDString() + ".tmp");
    fileManager_->writeFileAtomically(probe, "");
    try {
      fileManager_->removeItem(probe);
    } catch (const QuillonError&) {  // NOLINT(bugprone-empty-catch): the folder was writable, which was the question
    }
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace quillon
