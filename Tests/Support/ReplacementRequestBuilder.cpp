#include "Support/ReplacementRequestBuilder.h"

namespace quillon::testing {

VeskAppBundleReplacementRequest makeReplacementRequest(const std::filesystem::path& staged,
                                                       const std::filesystem::path& installed) {
  return {
      .stagedApplicationURL = QuillonURL::fileURL(staged.string()),
      .installedApplicationURL = QuillonURL::fileURL(installed.string()),
      .helperExecutableURL = std::nullopt,
      .hostIdentity = VeskAppBundleUpdateHostIdentity{.bundleIdentifier = "org.example.App",
                                                      .applicationVersion = "1.0",
                                                      .applicationBuild = 1,
                                                      .expectedTeamIdentifier = std::nullopt,
                                                      .allowsSameBuildReplacement = false},
      .shouldRequestAuthorizationIfNeeded = false,
      .launchUserContext = std::nullopt,
      .failureReportURL = std::nullopt,
      .failureReportAttemptIdentifier = std::nullopt,
  };
}

}  // namespace quillon::testing
