#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRequest.h"

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerOptions.h"

namespace quillon {
namespace {

using Options = VeskAppBundleInstallerOptions;

class ArgumentList {
 public:
  void flag(std::string_view option) { words_.emplace_back(option); }
  void value(std::string_view option, std::string text) {
    words_.emplace_back(option);
    words_.push_back(std::move(text));
  }
  [[nodiscard]] std::vector<std::string> take() { return std::move(words_); }

 private:
  std::vector<std::string> words_;
};

void append(ArgumentList& list, const VeskAppBundleUpdateHostIdentity& identity) {
  list.value(Options::bundleIdentifier, identity.bundleIdentifier);
  list.value(Options::applicationVersion, identity.applicationVersion);
  list.value(Options::applicationBuild, std::to_string(identity.applicationBuild));
  list.value(Options::allowsSameBuildReplacement, identity.allowsSameBuildReplacement ? "1" : "0");
  if (identity.expectedTeamIdentifier) list.value(Options::expectedTeamIdentifier, *identity.expectedTeamIdentifier);
}

void append(ArgumentList& list, const VeskAppBundleLaunchdUserContext& user) {
  list.value(Options::launchUserIdentifier, std::to_string(user.userIdentifier));
  list.value(Options::launchGroupIdentifier, std::to_string(user.groupIdentifier));
  list.value(Options::launchUserName, user.userName);
  list.value(Options::launchUserHome, user.homeDirectory);
}

}  // namespace

std::vector<std::string> VeskAppBundleReplacementRequest::helperArguments(
    std::int32_t hostProcessIdentifier, const std::optional<VeskAppBundleLaunchdUserContext>& launchUser,
    const std::optional<QuillonURL>& reportURL) const {
  ArgumentList list;
  list.value(Options::stagedApplication, stagedApplicationURL.path());
  list.value(Options::installedApplication, installedApplicationURL.path());
  list.value(Options::hostProcessIdentifier, std::to_string(hostProcessIdentifier));
  if (hostIdentity) append(list, *hostIdentity);
  if (shouldRequestAuthorizationIfNeeded) list.flag(Options::authorizeIfNeeded);
  if (const auto& user = launchUser ? launchUser : launchUserContext) append(list, *user);
  if (const auto& report = reportURL ? reportURL : failureReportURL) {
    list.value(Options::failureReportURL, report->path());
  }
  if (failureReportAttemptIdentifier) {
    list.value(Options::failureReportAttemptIdentifier, *failureReportAttemptIdentifier);
  }
  return list.take();
}

}  // namespace quillon
