#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleFailureReportPlace.h"

#include <cerrno>
#include <exception>
#include <string>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

/// Where `item` leads; absent when there is nothing. A link that leads nowhere is an error.
std::optional<QuillonURL> resolvedIfPresent(const QuillonFileManaging& fileManager, const QuillonURL& item) {
  try {
    return fileManager.resolvingSymbolicLinks(item);
  } catch (const QuillonSystemError& error) {
    if (!error.isPOSIX(ENOENT) || fileManager.itemStatus(item)) throw;
    return std::nullopt;
  }
}

std::optional<QuillonURL> place(const QuillonFileManaging& fileManager, const QuillonURL& requested) {
  std::string missing;
  QuillonURL item = requested;
  while (item.path() != "/") {
    // ".." behind a folder that is missing leads wherever somebody makes that folder lead.
    if (item.lastPathComponent() == "..") return std::nullopt;
    missing.insert(0, item.lastPathComponent()).insert(0, 1, '/');
    item = item.deletingLastPathComponent();
    const std::optional<QuillonURL> folder = resolvedIfPresent(fileManager, item);
    if (!folder) continue;
    if (!fileManager.isWritableDirectory(*folder)) return std::nullopt;
    return folder->appendingPathComponent(missing);
  }
  return std::nullopt;
}

}  // namespace

std::optional<QuillonURL> failureReportPlace(const QuillonFileManaging& fileManager,
                                             const QuillonURL& requested) noexcept {
  try {
    return place(fileManager, requested);
  } catch (const std::exception&) {  // what cannot be looked at is no place for a report
    return std::nullopt;
  }
}

}  // namespace quillon
