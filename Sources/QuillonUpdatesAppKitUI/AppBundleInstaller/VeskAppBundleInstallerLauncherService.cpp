#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherService.h"

#include <exception>
#include <utility>
#include <variant>

#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceRefusal.h"

namespace quillon {
namespace {

using Launch = VeskAppBundleXPCReplacementLaunch;
using Message = QuillonPropertyListValue::Dictionary;
using Phase = VeskAppBundleInstallerLaunchPhase;
using Result = VeskAppBundleReplacementLaunchResult;

Result failure(std::string description) {
  return Result::launchFailed({.phase = Phase::messageResolution,
                               .errorDomain = std::nullopt,
                               .errorCode = std::nullopt,
                               .errorDescription = std::move(description)});
}

Result resultOf(const VeskUpdateInstallerError& error) {
  if (error.code() == VeskUpdateInstallerError::Code::replacementHelperUnavailable) return Result::helperUnavailable();
  return failure(error.description());
}

/// The launch that the host asks for, or what it is to hear instead.
std::variant<Launch, Result> resolve(const VeskAppBundleInstallerLauncherServiceLaunchResolving& resolver,
                                     const Message& message) {
  try {
    return resolver.makeLaunch(message);
  } catch (const VeskAppBundleInstallerLauncherServiceRefusal& refusal) {
    return failure(refusal.reason());
  } catch (const VeskUpdateInstallerError& error) {
    return resultOf(error);
  } catch (const std::exception& error) {
    return failure(error.what());
  }
}

}  // namespace

VeskAppBundleInstallerLauncherService::VeskAppBundleInstallerLauncherService(
    std::shared_ptr<const VeskAppBundleInstallerLauncherServiceLaunchResolving> launchResolver,
    std::uint64_t preAuthorizationTimeoutNanoseconds, std::uint64_t postAuthorizationTimeoutNanoseconds,
    QuillonMonotonicTimeProvider monotonicTimeProvider, VeskAppBundleInstallerLaunchProgressHandler progressHandler,
    LauncherFactory launcherFactory, VeskAppBundleStatusMessage messageOfStatus)
    : launchResolver_(std::move(launchResolver)),
      preAuthorizationTimeoutNanoseconds_(preAuthorizationTimeoutNanoseconds),
      postAuthorizationTimeoutNanoseconds_(postAuthorizationTimeoutNanoseconds),
      monotonicTimeProvider_(std::move(monotonicTimeProvider)),
      progressHandler_(std::move(progressHandler)),
      launcherFactory_(std::move(launcherFactory)),
      messageOfStatus_(std::move(messageOfStatus)) {}

void VeskAppBundleInstallerLauncherService::launchReplacement(const Message& message, Reply reply) {
  const std::optional<Result> outcome = begin(message, reply);
  if (outcome) answer(*outcome, reply);
}

/// Begins a launch, whose thread replies; or gives the reply that is due at once.
std::optional<Result> VeskAppBundleInstallerLauncherService::begin(const Message& message,
                                                                   const Reply& reply) noexcept {
  try {
    return beginOrThrow(message, reply);
  } catch (const std::exception& error) {
    return failure(error.what());
  } catch (...) {
    return failure("The launch could not begin.");
  }
}

std::optional<Result> VeskAppBundleInstallerLauncherService::beginOrThrow(const Message& message, const Reply& reply) {
  report(VeskAppBundleInstallerLaunchProgress::handoffStarted());
  const auto budget = std::make_shared<VeskAppBundleInstallerLaunchPhaseBudget>(
      preAuthorizationTimeoutNanoseconds_, postAuthorizationTimeoutNanoseconds_, monotonicTimeProvider_);
  std::variant<Launch, Result> resolved = resolve(*launchResolver_, message);
  if (!budget->preAuthorizationShouldProceed()) return Result::timedOut(Phase::messageResolution);
  if (const auto* const refused = std::get_if<Result>(&resolved)) return *refused;

  Launch& launch = std::get<Launch>(resolved);
  auto launcher = launcherFactory_(launch.hostProcessIdentifier, budget);
  if (!launcher) return Result::helperUnavailable();
  launches_.start([this, launcher, request = std::move(launch.request), reply] {
    answer(launcher->launchReplacement(request, [this](const auto& progress) { report(progress); }), reply);
  });
  return std::nullopt;  // the task that has begun replies
}

void VeskAppBundleInstallerLauncherService::report(
    const VeskAppBundleInstallerLaunchProgress& progress) const noexcept {
  try {
    progressHandler_(progress);
  } catch (...) {  // NOLINT(bugprone-empty-catch): a launch goes on though nobody hears of its progress
  }
}

void VeskAppBundleInstallerLauncherService::answer(const Result& result, const Reply& reply) const noexcept {
  Message encoded;
  try {
    encoded = xpcDictionary(result, messageOfStatus_);
  } catch (...) {  // NOLINT(bugprone-empty-catch): the host reads an empty reply as a failed conversation
  }
  try {
    reply(encoded);
  } catch (...) {  // NOLINT(bugprone-empty-catch): a reply that cannot be sent has nobody who waits for it
  }
}

}  // namespace quillon
