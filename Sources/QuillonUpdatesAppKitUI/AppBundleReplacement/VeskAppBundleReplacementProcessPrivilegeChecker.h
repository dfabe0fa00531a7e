#pragma once

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementPrivilegeChecking.h"

namespace quillon {

/// Privileged is whoever runs with effective user id 0.
class VeskAppBundleReplacementProcessPrivilegeChecker final : public VeskAppBundleReplacementPrivilegeChecking {
 public:
  [[nodiscard]] bool processCanReplaceNonWritableDestination() const noexcept override;
};

}  // namespace quillon
