#pragma once

#include <optional>
#include <string>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// How a host finds its launcher service.
struct VeskAppBundleInstallerLauncherServiceInfo {
  VeskAppBundleInstallerLauncherServiceInfo() = delete;

  /// The name of the launcher service of a host: its bundle identifier and ".Quillon.UpdateInstallerLauncherService",
  /// or "io.quillon.UpdateInstallerLauncherService" for a host without identifier or with an empty one.
  [[nodiscard]] static std::string serviceName(const std::optional<std::string>& hostBundleIdentifier);

  /// The name for the host whose application bundle is at `hostBundleURL`. A bundle that cannot be read has no
  /// identifier.
  [[nodiscard]] static std::string currentHostServiceName(const QuillonFileManaging& fileManager,
                                                          const QuillonURL& hostBundleURL);
};

}  // namespace quillon
