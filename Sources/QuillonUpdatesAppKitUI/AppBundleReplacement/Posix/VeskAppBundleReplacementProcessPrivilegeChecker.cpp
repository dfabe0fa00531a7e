#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementProcessPrivilegeChecker.h"

#include <unistd.h>

namespace quillon {

bool VeskAppBundleReplacementProcessPrivilegeChecker::processCanReplaceNonWritableDestination() const noexcept {
  return geteuid() == 0;
}

}  // namespace quillon
