#pragma once

#include <array>
#include <string_view>

namespace quillon {

/// Keys of the message that asks for a replacement, in their documented order.
struct VeskAppBundleXPCReplacementMessageKeys {
  static constexpr std::string_view stagedApplicationPath = "stagedApplicationPath";
  static constexpr std::string_view installedApplicationPath = "installedApplicationPath";
  static constexpr std::string_view shouldRequestAuthorizationIfNeeded = "shouldRequestAuthorizationIfNeeded";
  static constexpr std::string_view bundleIdentifier = "bundleIdentifier";
  static constexpr std::string_view applicationVersion = "applicationVersion";
  static constexpr std::string_view applicationBuild = "applicationBuild";
  static constexpr std::string_view allowsSameBuildReplacement = "allowsSameBuildReplacement";
  static constexpr std::string_view expectedTeamIdentifier = "expectedTeamIdentifier";
  static constexpr std::string_view launchUserIdentifier = "launchUserIdentifier";
  static constexpr std::string_view launchGroupIdentifier = "launchGroupIdentifier";
  static constexpr std::string_view launchUserName = "launchUserName";
  static constexpr std::string_view launchUserHomeDirectory = "launchUserHomeDirectory";
  static constexpr std::string_view failureReportPath = "failureReportPath";
  static constexpr std::string_view failureReportAttemptIdentifier = "failureReportAttemptIdentifier";

  /// All or none of these stand in a message.
  static constexpr std::array<std::string_view, 4> launchUser = {launchUserIdentifier, launchGroupIdentifier,
                                                                 launchUserName, launchUserHomeDirectory};
  static constexpr std::array<std::string_view, 14> all = {
      stagedApplicationPath,
      installedApplicationPath,
      shouldRequestAuthorizationIfNeeded,
      bundleIdentifier,
      applicationVersion,
      applicationBuild,
      allowsSameBuildReplacement,
      expectedTeamIdentifier,
      launchUserIdentifier,
      launchGroupIdentifier,
      launchUserName,
      launchUserHomeDirectory,
      failureReportPath,
      failureReportAttemptIdentifier,
  };
};

}  // namespace quillon
