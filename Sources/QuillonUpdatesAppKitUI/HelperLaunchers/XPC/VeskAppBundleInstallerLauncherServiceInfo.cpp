#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceInfo.h"

#include <string_view>

#include "QuillonCore/Runtime/QuillonBundleInformation.h"

namespace quillon {
namespace {

constexpr std::string_view kServiceNameSuffix = ".Quillon.UpdateInstallerLauncherService";
constexpr std::string_view kFallbackServiceName = "io.quillon.UpdateInstallerLauncherService";

}  // namespace

std::string VeskAppBundleInstallerLauncherServiceInfo::serviceName(
    const std::optional<std::string>& hostBundleIdentifier) {
  if (!hostBundleIdentifier || hostBundleIdentifier->empty()) return std::string(kFallbackServiceName);
  return *hostBundleIdentifier + std::string(kServiceNameSuffix);
}

std::string VeskAppBundleInstallerLauncherServiceInfo::currentHostServiceName(const QuillonFileManaging& fileManager,
                                                                              const QuillonURL& hostBundleURL) {
  return serviceName(bundleInformationText(fileManager, hostBundleURL, "CFBundleIdentifier"));
}

}  // namespace quillon
