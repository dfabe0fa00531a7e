#pragma once

#include <string_view>

namespace quillon {

/// Option names of the installer command's command line, written by the request and read by the command.
struct VeskAppBundleInstallerOptions {
  static constexpr std::string_view stagedApplication = "--staged-app";
  static constexpr std::string_view installedApplication = "--installed-app";
  static constexpr std::string_view hostProcessIdentifier = "--host-pid";
  static constexpr std::string_view bundleIdentifier = "--bundle-id";
  static constexpr std::string_view applicationVersion = "--app-version";
  static constexpr std::string_view applicationBuild = "--app-build";
  static constexpr std::string_view allowsSameBuildReplacement = "--allows-same-build-replacement";
  static constexpr std::string_view expectedTeamIdentifier = "--expected-team-id";
  /// The only option without a value.
  static constexpr std::string_view authorizeIfNeeded = "--authorize-if-needed";
  static constexpr std::string_view launchUserIdentifier = "--launch-user-id";
  static constexpr std::string_view launchGroupIdentifier = "--launch-group-id";
  static constexpr std::string_view launchUserName = "--launch-user-name";
  static constexpr std::string_view launchUserHome = "--launch-user-home";
  static constexpr std::string_view failureReportURL = "--failure-report-url";
  static constexpr std::string_view failureReportAttemptIdentifier = "--failure-report-attempt-id";
};

}  // namespace quillon
