#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerLaunchPhase.h"

#include <array>
#include <cstddef>

namespace quillon {
namespace {

constexpr std::array<std::string_view, 7> kRawValues = {
    "messageResolution", "preAuthorization", "authorization", "postAuthorization",
    "jobSubmission",     "xpcConnection",    "xpcReply",
};

}  // namespace

std::string_view rawValue(VeskAppBundleInstallerLaunchPhase phase) noexcept {
  return kRawValues.at(static_cast<std::size_t>(phase));
}

std::optional<VeskAppBundleInstallerLaunchPhase> launchPhaseFromRawValue(std::string_view text) noexcept {
  for (std::size_t i = 0; i < kRawValues.size(); ++i) {
    if (kRawValues.at(i) == text) return static_cast<VeskAppBundleInstallerLaunchPhase>(i);
  }
  return std::nullopt;
}

}  // namespace quillon
