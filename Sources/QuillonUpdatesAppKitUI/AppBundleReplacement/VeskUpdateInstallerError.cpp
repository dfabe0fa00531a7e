#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"

#include <array>
#include <cstddef>
#include <utility>

namespace quillon {
namespace {

constexpr std::array<std::string_view, 24> kCaseNames = {
    "replacementHelperLaunchFailed",
    "replacementHelperProtocolFailure",
    "replacementHelperLaunchTimedOut",
    "authorizationDenied",
    "authorizationCancelled",
    "missingArchiveURL",
    "downloadFailed",
    "writeFailed",
    "unzipFailed",
    "launchFailed",
    "invalidArchive",
    "noAppBundleFound",
    "multipleAppBundlesFound",
    "bundleIdentifierMismatch",
    "teamIdentifierMismatch",
    "nonNewerBundleVersion",
    "minimumOSVersionUnsupported",
    "missingExecutable",
    "signatureValidationFailed",
    "replacementHelperUnavailable",
    "replacementLaunchFailed",
    "destinationNotWritable",
    "replacementFailed",
    "relaunchFailed",
};

struct PayloadText {
  std::string operator()(std::monostate) const { return {}; }
  std::string operator()(const VeskAppBundleInstallerFailureDiagnostic& diagnostic) const {
    return diagnostic.description();
  }
  std::string operator()(VeskAppBundleInstallerLaunchPhase phase) const { return std::string(rawValue(phase)); }
  std::string operator()(const VeskAppBundleAuthorizationFailure& failure) const {
    std::string text;
    if (failure.status) text = std::to_string(*failure.status);
    if (failure.message && !failure.message->empty()) text += (text.empty() ? "" : " ") + *failure.message;
    return text;
  }
};

std::string describe(VeskUpdateInstallerError::Code code, const VeskUpdateInstallerError::Payload& payload) {
  std::string text(caseName(code));
  const std::string detail = std::visit(PayloadText{}, payload);
  if (!detail.empty()) text.append("(").append(detail).append(")");
  return text;
}

}  // namespace

std::string_view caseName(VeskUpdateInstallerError::Code code) noexcept {
  return kCaseNames.at(static_cast<std::size_t>(code));
}

VeskUpdateInstallerError::VeskUpdateInstallerError(Code code) : VeskUpdateInstallerError(code, std::monostate{}) {}

VeskUpdateInstallerError::VeskUpdateInstallerError(Code code, Payload payload)
    : QuillonError(describe(code, payload)), code_(code), payload_(std::move(payload)) {}

VeskUpdateInstallerError VeskUpdateInstallerError::replacementHelperLaunchFailed(
    VeskAppBundleInstallerFailureDiagnostic diagnostic) {
  return {Code::replacementHelperLaunchFailed, std::move(diagnostic)};
}

VeskUpdateInstallerError VeskUpdateInstallerError::replacementHelperProtocolFailure(
    VeskAppBundleInstallerFailureDiagnostic diagnostic) {
  return {Code::replacementHelperProtocolFailure, std::move(diagnostic)};
}

VeskUpdateInstallerError VeskUpdateInstallerError::replacementHelperLaunchTimedOut(
    VeskAppBundleInstallerLaunchPhase phase) {
  return {Code::replacementHelperLaunchTimedOut, phase};
}

VeskUpdateInstallerError VeskUpdateInstallerError::authorizationDenied(VeskAppBundleAuthorizationFailure failure) {
  return {Code::authorizationDenied, std::move(failure)};
}

VeskUpdateInstallerError VeskUpdateInstallerError::authorizationCancelled(VeskAppBundleAuthorizationFailure failure) {
  return {Code::authorizationCancelled, std::move(failure)};
}

}  // namespace quillon
