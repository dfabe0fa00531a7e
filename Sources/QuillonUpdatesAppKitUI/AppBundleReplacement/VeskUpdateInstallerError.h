#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerFailureDiagnostic.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerLaunchPhase.h"

namespace quillon {

/// Why the operating system gave no administrator rights.
struct VeskAppBundleAuthorizationFailure {
  /// Status of the authorization services (`AuthorizationErrors` in `<Security/Authorization.h>`), such as -60005.
  std::optional<std::int32_t> status;
  std::optional<std::string> message;

  friend bool operator==(const VeskAppBundleAuthorizationFailure&, const VeskAppBundleAuthorizationFailure&) = default;
};

/// The one error of downloading, validating and replacing an application bundle. Equal by case and payload.
///
/// `description()` names the case and its payload, for logs and reports; texts for users are the alerts' business.
class VeskUpdateInstallerError : public QuillonError {
 public:
  enum class Code : std::uint8_t {
    replacementHelperLaunchFailed,
    replacementHelperProtocolFailure,
    replacementHelperLaunchTimedOut,
    authorizationDenied,
    authorizationCancelled,
    missingArchiveURL,
    downloadFailed,
    writeFailed,
    unzipFailed,
    launchFailed,
    invalidArchive,
    noAppBundleFound,
    multipleAppBundlesFound,
    bundleIdentifierMismatch,
    teamIdentifierMismatch,
    nonNewerBundleVersion,
    minimumOSVersionUnsupported,
    missingExecutable,
    signatureValidationFailed,
    replacementHelperUnavailable,
    replacementLaunchFailed,
    destinationNotWritable,
    replacementFailed,
    relaunchFailed,
  };
  using Payload = std::variant<std::monostate, VeskAppBundleInstallerFailureDiagnostic,
                               VeskAppBundleInstallerLaunchPhase, VeskAppBundleAuthorizationFailure>;

  /// A case without payload.
  explicit VeskUpdateInstallerError(Code code);

  static VeskUpdateInstallerError replacementHelperLaunchFailed(VeskAppBundleInstallerFailureDiagnostic diagnostic);
  static VeskUpdateInstallerError replacementHelperProtocolFailure(VeskAppBundleInstallerFailureDiagnostic diagnostic);
  static VeskUpdateInstallerError replacementHelperLaunchTimedOut(VeskAppBundleInstallerLaunchPhase phase);
  static VeskUpdateInstallerError authorizationDenied(VeskAppBundleAuthorizationFailure failure);
  static VeskUpdateInstallerError authorizationCancelled(VeskAppBundleAuthorizationFailure failure);
  static VeskUpdateInstallerError invalidArchive() { return VeskUpdateInstallerError(Code::invalidArchive); }
  static VeskUpdateInstallerError signatureValidationFailed() {
    return VeskUpdateInstallerError(Code::signatureValidationFailed);
  }
  static VeskUpdateInstallerError destinationNotWritable() {
    return VeskUpdateInstallerError(Code::destinationNotWritable);
  }
  static VeskUpdateInstallerError replacementLaunchFailed() {
    return VeskUpdateInstallerError(Code::replacementLaunchFailed);
  }
  static VeskUpdateInstallerError replacementFailed() { return VeskUpdateInstallerError(Code::replacementFailed); }
  static VeskUpdateInstallerError relaunchFailed() { return VeskUpdateInstallerError(Code::relaunchFailed); }

  [[nodiscard]] Code code() const noexcept { return code_; }
  [[nodiscard]] const Payload& payload() const noexcept { return payload_; }

  friend bool operator==(const VeskUpdateInstallerError& a, const VeskUpdateInstallerError& b) {
    return a.code_ == b.code_ && a.payload_ == b.payload_;
  }

 private:
  VeskUpdateInstallerError(Code code, Payload payload);

  Code code_;
  Payload payload_;
};

/// The case's name, equal to the enumerator's.
[[nodiscard]] std::string_view caseName(VeskUpdateInstallerError::Code code) noexcept;

}  // namespace quillon
