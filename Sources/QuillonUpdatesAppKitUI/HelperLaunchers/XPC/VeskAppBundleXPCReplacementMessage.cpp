#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageFields.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageRefusal.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessageKeys.h"

namespace quillon {
namespace {

using Keys = VeskAppBundleXPCReplacementMessageKeys;
using Value = QuillonPropertyListValue;

void write(const VeskAppBundleUpdateHostIdentity& identity, Value::Dictionary& message) {
  message.emplace(Keys::bundleIdentifier, Value(identity.bundleIdentifier));
  message.emplace(Keys::applicationVersion, Value(identity.applicationVersion));
  message.emplace(Keys::applicationBuild, Value(identity.applicationBuild));
  message.emplace(Keys::allowsSameBuildReplacement, Value(identity.allowsSameBuildReplacement));
  if (identity.expectedTeamIdentifier) {
    message.emplace(Keys::expectedTeamIdentifier, Value(*identity.expectedTeamIdentifier));
  }
}

void write(const VeskAppBundleLaunchdUserContext& user, Value::Dictionary& message) {
  message.emplace(Keys::launchUserIdentifier, Value(std::int64_t{user.userIdentifier}));
  message.emplace(Keys::launchGroupIdentifier, Value(std::int64_t{user.groupIdentifier}));
  message.emplace(Keys::launchUserName, Value(user.userName));
  message.emplace(Keys::launchUserHomeDirectory, Value(user.homeDirectory));
}

/// Absent when not one of its keys is there; one that is there demands the others.
std::optional<VeskAppBundleLaunchdUserContext> readLaunchUser(const VeskAppBundleXPCMessageFields& fields) {
  if (std::ranges::none_of(Keys::launchUser, [&fields](std::string_view key) { return fields.has(key); })) {
    return std::nullopt;
  }
  return VeskAppBundleLaunchdUserContext{
      .userIdentifier = fields.requiredUnsigned32(Keys::launchUserIdentifier),
      .groupIdentifier = fields.requiredUnsigned32(Keys::launchGroupIdentifier),
      .userName = fields.requiredNonEmptyString(Keys::launchUserName),
      .homeDirectory = fields.requiredNonEmptyString(Keys::launchUserHomeDirectory),
  };
}

std::optional<QuillonURL> readFailureReportURL(const VeskAppBundleXPCMessageFields& fields) {
  const std::optional<std::string> path = fields.optionalString(Keys::failureReportPath);
  return path ? std::optional(QuillonURL::fileURL(*path)) : std::nullopt;
}

}  // namespace

Value::Dictionary VeskAppBundleXPCReplacementMessage::propertyList() const {
  Value::Dictionary message;
  message.emplace(Keys::stagedApplicationPath, Value(request.stagedApplicationURL.path()));
  message.emplace(Keys::installedApplicationPath, Value(request.installedApplicationURL.path()));
  message.emplace(Keys::shouldRequestAuthorizationIfNeeded, Value(request.shouldRequestAuthorizationIfNeeded));
  if (request.hostIdentity) write(*request.hostIdentity, message);
  if (request.launchUserContext) write(*request.launchUserContext, message);
  if (request.failureReportURL) message.emplace(Keys::failureReportPath, Value(request.failureReportURL->path()));
  if (request.failureReportAttemptIdentifier) {
    message.emplace(Keys::failureReportAttemptIdentifier, Value(*request.failureReportAttemptIdentifier));
  }
  return message;
}

// The fields are read in the documented order, because the first refusal is the one that is shown.
VeskAppBundleReplacementRequest VeskAppBundleXPCReplacementMessage::read(const Value::Dictionary& message) {
  const VeskAppBundleXPCMessageFields fields(message);
  const std::string& staged = fields.requiredString(Keys::stagedApplicationPath);
  const std::string& installed = fields.requiredString(Keys::installedApplicationPath);
  VeskAppBundleUpdateHostIdentity identity;
  identity.bundleIdentifier = fields.requiredString(Keys::bundleIdentifier);
  identity.applicationVersion = fields.requiredString(Keys::applicationVersion);
  identity.applicationBuild = fields.requiredInteger(Keys::applicationBuild);
  identity.allowsSameBuildReplacement = fields.requiredBool(Keys::allowsSameBuildReplacement);
  identity.expectedTeamIdentifier = fields.optionalString(Keys::expectedTeamIdentifier);
  const bool shouldRequestAuthorization = fields.requiredBool(Keys::shouldRequestAuthorizationIfNeeded);
  return {.stagedApplicationURL = QuillonURL::fileURL(staged),
          .installedApplicationURL = QuillonURL::fileURL(installed),
          .helperExecutableURL = std::nullopt,
          .hostIdentity = std::move(identity),
          .shouldRequestAuthorizationIfNeeded = shouldRequestAuthorization,
          .launchUserContext = readLaunchUser(fields),
          .failureReportURL = readFailureReportURL(fields),
          .failureReportAttemptIdentifier = fields.optionalString(Keys::failureReportAttemptIdentifier)};
}

VeskAppBundleReplacementRequest VeskAppBundleXPCReplacementMessage::parse(const Value::Dictionary& message) {
  try {
    return read(message);
  } catch (const VeskAppBundleXPCMessageRefusal&) {
    throw VeskUpdateInstallerError::replacementLaunchFailed();
  }
}

}  // namespace quillon
