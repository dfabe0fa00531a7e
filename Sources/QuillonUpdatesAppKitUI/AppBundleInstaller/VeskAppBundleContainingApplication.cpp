#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleContainingApplication.h"

namespace quillon {
namespace {

bool hasExtension(const QuillonURL& url, std::string_view extension) noexcept {
  return url.pathExtension() == extension && !url.nameWithoutExtension().empty();
}

}  // namespace

std::optional<QuillonURL> containingApplicationURL(const QuillonURL& serviceExecutableURL) {
  if (serviceExecutableURL.lastPathComponent() != kInstallerLauncherServiceExecutableName) return std::nullopt;
  QuillonURL folder = serviceExecutableURL.deletingLastPathComponent();
  for (const std::string_view name : {"MacOS", "Contents"}) {
    if (folder.lastPathComponent() != name) return std::nullopt;
    folder = folder.deletingLastPathComponent();
  }
  if (!hasExtension(folder, "xpc")) return std::nullopt;
  folder = folder.deletingLastPathComponent();
  for (const std::string_view name : {"XPCServices", "Contents"}) {
    if (folder.lastPathComponent() != name) return std::nullopt;
    folder = folder.deletingLastPathComponent();
  }
  if (!hasExtension(folder, "app")) return std::nullopt;
  return folder;
}

}  // namespace quillon
