#pragma once

#include <memory>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementOwnershipMatching.h"

namespace quillon {

/// Changes owners through the file system.
class VeskAppBundleReplacementOwnershipMatcher final : public VeskAppBundleReplacementOwnershipMatching {
 public:
  explicit VeskAppBundleReplacementOwnershipMatcher(std::shared_ptr<const QuillonFileManaging> fileManager)
      : fileManager_(std::move(fileManager)) {}

  [[nodiscard]] bool processCanMatchInstalledOwnership(
      const QuillonURL& installedApplicationURL) const noexcept override;

  /// A root that has the right owner and group already is left alone with all that is below it. Where the root's group
  /// cannot be changed, a root of the right owner is good enough; else the root keeps its group, and the items below
  /// get the reference's all the same.
  void matchOwnerAndGroupOfItem(const QuillonURL& root, const QuillonURL& reference) const override;

 private:
  std::shared_ptr<const QuillonFileManaging> fileManager_;
};

}  // namespace quillon
