#include "QuillonUpdateInstaller/QuillonUpdateInstallerArguments.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonUpdateInstaller/QuillonUpdateInstallerArgumentError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerOptions.h"

namespace quillon {
namespace {

using Error = QuillonUpdateInstallerArgumentError;
using Options = VeskAppBundleInstallerOptions;

class OptionValues {
 public:
  explicit OptionValues(const std::vector<std::string>& arguments) {
    for (std::size_t i = 0; i < arguments.size();) {
      const std::string& word = arguments[i];
      if (word == Options::authorizeIfNeeded || !isOption(word)) {
        ++i;
        continue;
      }
      if (i + 1 == arguments.size() || isOption(arguments[i + 1])) throw Error::missingValue(word);
      values_[word] = arguments[i + 1];
      i += 2;
    }
  }

  [[nodiscard]] std::optional<std::string> optional(std::string_view option) const {
    const auto found = values_.find(option);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }

  [[nodiscard]] const std::string& required(std::string_view option) const {
    const auto found = values_.find(option);
    if (found == values_.end()) throw Error::missingRequiredArgument(option);
    return found->second;
  }

 private:
  static bool isOption(std::string_view word) { return word.starts_with("--"); }

  std::map<std::string, std::string, std::less<>> values_;
};

std::int32_t readHostProcessIdentifier(const OptionValues& values) {
  const auto number = decimalNumber<std::int32_t>(values.required(Options::hostProcessIdentifier));
  if (!number) throw Error::invalidHostProcessIdentifier();
  return *number;
}

std::int64_t readApplicationBuild(const OptionValues& values) {
  const auto number = decimalNumber<std::int64_t>(values.required(Options::applicationBuild));
  if (!number) throw Error::invalidApplicationBuild();
  return *number;
}

bool readSameBuildReplacementPolicy(const OptionValues& values) {
  const std::string& text = values.required(Options::allowsSameBuildReplacement);
  if (text != "1" && text != "0") throw Error::invalidSameBuildReplacementPolicy();
  return text == "1";
}

std::optional<VeskAppBundleLaunchdUserContext> readLaunchUserContext(const OptionValues& values) {
  const std::array<std::optional<std::string>, 4> texts = {
      values.optional(Options::launchUserIdentifier), values.optional(Options::launchGroupIdentifier),
      values.optional(Options::launchUserName), values.optional(Options::launchUserHome)};
  if (std::ranges::none_of(texts, [](const auto& text) { return text.has_value(); })) return std::nullopt;
  if (!std::ranges::all_of(texts, [](const auto& text) { return text && !text->empty(); })) {
    throw Error::invalidLaunchUserContext();
  }
  const auto user = decimalNumber<std::uint32_t>(*texts[0]);
  const auto group = decimalNumber<std::uint32_t>(*texts[1]);
  if (!user || !group) throw Error::invalidLaunchUserContext();
  return VeskAppBundleLaunchdUserContext{
      .userIdentifier = *user, .groupIdentifier = *group, .userName = *texts[2], .homeDirectory = *texts[3]};
}

}  // namespace

QuillonUpdateInstallerArguments QuillonUpdateInstallerArguments::parse(const std::vector<std::string>& arguments) {
  const OptionValues values(arguments);
  // The order of these lines decides which of several problems is reported.
  const std::string& staged = values.required(Options::stagedApplication);
  const std::string& installed = values.required(Options::installedApplication);
  const std::int32_t hostProcessIdentifier = readHostProcessIdentifier(values);
  VeskAppBundleUpdateHostIdentity identity;
  identity.bundleIdentifier = values.required(Options::bundleIdentifier);
  identity.applicationVersion = values.required(Options::applicationVersion);
  identity.applicationBuild = readApplicationBuild(values);
  identity.allowsSameBuildReplacement = readSameBuildReplacementPolicy(values);
  std::optional<VeskAppBundleLaunchdUserContext> launchUserContext = readLaunchUserContext(values);
  const std::optional<std::string> reportPath = values.optional(Options::failureReportURL);
  identity.expectedTeamIdentifier = values.optional(Options::expectedTeamIdentifier);
  return {
      .stagedApplicationURL = QuillonURL::fileURL(staged),
      .installedApplicationURL = QuillonURL::fileURL(installed),
      .hostProcessIdentifier = hostProcessIdentifier,
      .shouldRequestAuthorizationIfNeeded = std::ranges::find(arguments, Options::authorizeIfNeeded) != arguments.end(),
      .hostIdentity = std::move(identity),
      .launchUserContext = std::move(launchUserContext),
      .failureReportURL = reportPath ? std::optional(QuillonURL::fileURL(*reportPath)) : std::nullopt,
      .failureReportAttemptIdentifier = values.optional(Options::failureReportAttemptIdentifier),
  };
}

VeskAppBundleReplacementRequest QuillonUpdateInstallerArguments::replacementRequest() const {
  return {
      .stagedApplicationURL = stagedApplicationURL,
      .installedApplicationURL = installedApplicationURL,
      .helperExecutableURL = std::nullopt,
      .hostIdentity = hostIdentity,
      .shouldRequestAuthorizationIfNeeded = shouldRequestAuthorizationIfNeeded,
      .launchUserContext = launchUserContext,
      .failureReportURL = failureReportURL,
      .failureReportAttemptIdentifier = failureReportAttemptIdentifier,
  };
}

}  // namespace quillon
