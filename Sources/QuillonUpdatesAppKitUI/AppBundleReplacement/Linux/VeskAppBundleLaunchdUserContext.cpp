#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleLaunchdUserContext.h"

#include <pwd.h>
#include <unistd.h>

#include <array>

namespace quillon {

VeskAppBundleLaunchdUserContext VeskAppBundleLaunchdUserContext::currentProcess() {
  VeskAppBundleLaunchdUserContext context;
  context.userIdentifier = getuid();
  context.groupIdentifier = getgid();
  passwd record{};
  passwd* found = nullptr;
  std::array<char, 16384> storage{};
  // A user without an entry keeps an empty name and home; whoever needs them refuses that.
  if (getpwuid_r(context.userIdentifier, &record, storage.data(), storage.size(), &found) == 0 && found != nullptr) {
    context.userName = found->pw_name;
    context.homeDirectory = found->pw_dir;
  }
  return context;
}

}  // namespace quillon
