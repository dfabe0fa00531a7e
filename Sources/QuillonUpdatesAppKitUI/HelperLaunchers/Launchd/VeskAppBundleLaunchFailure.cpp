#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchFailure.h"

#include <optional>
#include <string>
#include <variant>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationClient.h"

namespace quillon {
namespace {

using Code = VeskUpdateInstallerError::Code;
using Phase = VeskAppBundleInstallerLaunchPhase;
using Result = VeskAppBundleReplacementLaunchResult;

std::int32_t statusOf(const VeskUpdateInstallerError& error, std::int32_t usual) {
  const auto* const failure = std::get_if<VeskAppBundleAuthorizationFailure>(&error.payload());
  return failure == nullptr ? usual : failure->status.value_or(usual);
}

VeskAppBundleInstallerFailureDiagnostic diagnosticOf(const VeskUpdateInstallerError& error, Phase phase) {
  if (const auto* const diagnostic = std::get_if<VeskAppBundleInstallerFailureDiagnostic>(&error.payload())) {
    return *diagnostic;
  }
  return {.phase = phase, .errorDomain = {}, .errorCode = {}, .errorDescription = error.description()};
}

Result resultOf(const VeskUpdateInstallerError& error, Phase phase) {
  if (error.code() == Code::authorizationDenied) {
    return Result::authorizationDenied(statusOf(error, kAuthorizationDenied));
  }
  if (error.code() == Code::authorizationCancelled) {
    return Result::authorizationCancelled(statusOf(error, kAuthorizationCanceled));
  }
  if (error.code() == Code::replacementHelperLaunchTimedOut) {
    const auto* const timedOutPhase = std::get_if<Phase>(&error.payload());
    return Result::timedOut(timedOutPhase == nullptr ? phase : *timedOutPhase);
  }
  if (error.code() == Code::replacementHelperUnavailable) return Result::helperUnavailable();
  if (error.code() == Code::replacementHelperProtocolFailure)
    return Result::protocolFailure(diagnosticOf(error, phase));
  return Result::launchFailed(diagnosticOf(error, phase));
}

Result describedResult(const std::exception_ptr& error, Phase phase) {
  try {
    std::rethrow_exception(error);
  } catch (const VeskUpdateInstallerError& failure) {
    return resultOf(failure, phase);
  } catch (const QuillonSystemError& failure) {
    return Result::launchFailed({.phase = phase,
                                 .errorDomain = failure.domain(),
                                 .errorCode = failure.code(),
                                 .errorDescription = failure.description()});
  } catch (const std::exception& failure) {
    return Result::launchFailed(
        {.phase = phase, .errorDomain = {}, .errorCode = {}, .errorDescription = failure.what()});
  }
}

}  // namespace

VeskAppBundleReplacementLaunchResult launchFailureResult(const std::exception_ptr& error, Phase phase) noexcept {
  try {
    return describedResult(error, phase);
  } catch (...) {  // something that is no exception of the standard library, or no memory to describe one
    return Result::launchFailed({.phase = phase, .errorDomain = {}, .errorCode = {}, .errorDescription = {}});
  }
}

}  // namespace quillon
