#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleFileSafety.h"

#include <exception>
#include <string>

#include "QuillonCore/Text/QuillonCaseFolding.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"

namespace quillon {
namespace {

constexpr std::string_view kBundleExtension = "app";

}  // namespace

std::optional<QuillonURL> VeskAppBundleFileSafety::realDirectoryAppBundle(const QuillonFileManaging& fileManager,
                                                                          const QuillonURL& candidate,
                                                                          const QuillonURL& root) {
  if (!equalIgnoringCase(candidate.pathExtension(), kBundleExtension)) return std::nullopt;
  try {
    const std::optional<QuillonFileStatus> status = fileManager.itemStatus(candidate);
    if (!status || status->type == QuillonFileType::symbolicLink) throw VeskUpdateInstallerError::invalidArchive();
    if (status->type != QuillonFileType::directory) return std::nullopt;
    QuillonURL resolved = fileManager.resolvingSymbolicLinks(candidate);
    if (!contains(fileManager.resolvingSymbolicLinks(root).path(), resolved.path())) {
      throw VeskUpdateInstallerError::invalidArchive();
    }
    return resolved;
  } catch (const QuillonSystemError&) {
    throw VeskUpdateInstallerError::invalidArchive();
  }
}

bool VeskAppBundleFileSafety::isRealDirectoryAppBundle(const QuillonFileManaging& fileManager,
                                                       const QuillonURL& bundle) noexcept {
  try {
    if (!equalIgnoringCase(bundle.pathExtension(), kBundleExtension)) return false;
    const std::optional<QuillonFileStatus> status = fileManager.itemStatus(bundle);
    return status && status->type == QuillonFileType::directory;
  } catch (const std::exception&) {
    return false;
  }
}

bool VeskAppBundleFileSafety::contains(std::string_view root, std::string_view path) noexcept {
  if (path == root) return true;
  if (!path.starts_with(root)) return false;
  return root.ends_with('/') || path.substr(root.size()).starts_with('/');
}

}  // namespace quillon
