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

}  // namespace

std::string_view VeskAppBundleReplacementLaunchResult::caseName() const noexcept {
  return std::visit(CaseName{}, value);
}

}  // namespace quillon
