#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleInstallerLaunchProgress.h"

namespace quillon {
namespace {

using Progress = VeskAppBundleInstallerLaunchProgress;

struct CaseName {
  std::string_view operator()(const Progress::AuthorizationRequired&) const noexcept { return "authorizationRequired"; }
  std::string_view operator()(const Progress::AuthorizationEnded&) const noexcept { return "authorizationEnded"; }
  std::string_view operator()(const Progress::HandoffStarted&) const noexcept { return "handoffStarted"; }
  std::string_view operator()(const Progress::AuthorizationBegan&) const noexcept { return "authorizationBegan"; }
  std::string_view operator()(const Progress::JobSubmitted&) const noexcept { return "jobSubmitted"; }
};

}  // namespace

std::string_view VeskAppBundleInstallerLaunchProgress::caseName() const noexcept {
  return std::visit(CaseName{}, value);
}

}  // namespace quillon
