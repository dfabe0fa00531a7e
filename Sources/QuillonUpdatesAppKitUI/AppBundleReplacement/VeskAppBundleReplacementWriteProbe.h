#pragma once

#include <memory>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementPermissionChecking.h"

namespace quillon {

/// Tries it: writes a probe file into the folder, which is gone on return.
class VeskAppBundleReplacementWriteProbe final : public VeskAppBundleReplacementPermissionChecking {
 public:
  explicit VeskAppBundleReplacementWriteProbe(std::shared_ptr<const QuillonFileManaging> fileManager)
      : fileManager_(std::move(fileManager)) {}

  [[nodiscard]] bool destinationParentIsWritable(const QuillonURL& installedApplicationURL) const noexcept override;

 private:
  std::shared_ptr<const QuillonFileManaging> fileManager_;
};

}  // namespace quillon
