#include "QuillonCore/Runtime/Linux/QuillonToolLocation.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdRelauncher.h"

namespace quillon {

VeskAppBundleRelaunchToolPaths VeskAppBundleRelaunchToolPaths::systemDefault() {
  return {.launchctl = toolPath("quillon-launchctl"), .open = toolPath("quillon-open")};
}

}  // namespace quillon
