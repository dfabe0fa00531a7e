#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleReplacementLaunchResult.h"

namespace quillon {
namespace {

using Result = VeskAppBundleReplacementLaunchResult;

struct CaseName {
  std::string_view operator()(const Result::LaunchFailed&) const noexcept { return "launchFailed"; }
  std::string_view operator()(const Result::ProtocolFailure&) const noexcept { return "protocolFailure"; }
  std::string_view operator()(const Result::AuthorizationDenied&) const noexcept { return "authorizationDenied"; }
  std::string_view operator()(const Result::AuthorizationCancelled&) const noexcept { return "authorizationCancelled"; }
  std::string_view operator()(const Result::TimedOut&) const noexcept { return "timedOut"; }
  std::string_view operator()(const Result::Launched&) const noexcept { return "launched"; }
  std::string_view operator()(const Result::HelperUnavailable&) const noexcept { return "helperUnavailable"; }
};

struct MayHaveLaunched {
  static bool canStartIn(VeskAppBundleInstallerLaunchPhase phase) noexcept {
    return phase != VeskAppBundleInstallerLaunchPhase::messageResolution;
  }
  bool operator()(const Result::LaunchFailed&) const noexcept { return false; }
  bool operator()(const Result::ProtocolFailure& failure) const noexcept {
    return canStartIn(failure.diagnostic.phase);
  }
  bool operator()(const Result::AuthorizationDenied&) const noexcept { return false; }
  bool operator()(const Result::AuthorizationCancelled&) const noexcept { return false; }
  bool operator()(const Result::TimedOut& timeout) const noexcept { return canStartIn(timeout.phase); }
  bool operator()(const Result::Launched&) const noexcept { return true; }
  bool operator()(const Result::HelperUnavailable&) const noexcept { return false; }
};

}  // namespace

bool VeskAppBundleReplacementLaunchResult::mayHaveLaunched() const noexcept {
  return std::visit(MayHaveLaunched{}, value);
}

std::string_view VeskAppBundleReplacementLaunchResult::caseName() const noexcept {
  return std::visit(CaseName{}, value);
}

}  // namespace quillon
