#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdRelauncher.h"

namespace quillon {

VeskAppBundleRelaunchToolPaths VeskAppBundleRelaunchToolPaths::systemDefault() {
  return {.launchctl = "/bin/launchctl", .open = "/usr/bin/open"};
}

}  // namespace quillon
