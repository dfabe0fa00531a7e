#include "UpdateLauncher.h"

#include <cstdint>
#include <utility>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceInfo.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCSystemServices.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCUpdateHelperLauncher.h"

namespace sample {

using namespace quillon;

std::shared_ptr<VeskAppBundleUpdateHelperLaunching> makeUpdateLauncher(const QuillonFileManaging& files,
                                                                       const QuillonURL& bundle,
                                                                       std::shared_ptr<QuillonTimerScheduling> timers) {
  // Nanoseconds, longer than the service takes at most. The administrator's dialog counts for neither.
  constexpr std::uint64_t kBeforeTheDialog = 15'000'000'000;
  constexpr std::uint64_t kAfterTheDialog = 40'000'000'000;
  return std::make_shared<VeskAppBundleXPCUpdateHelperLauncher>(
      makeSystemInstallerLauncherServiceConnectionFactory(bundle),
      VeskAppBundleInstallerLauncherServiceInfo::currentHostServiceName(files, bundle), kBeforeTheDialog,
      kAfterTheDialog, std::move(timers));
}

}  // namespace sample
