#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateUncertainHandOff.h"

#include <exception>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonUUID.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateWorkingFolderSafety.h"

namespace quillon {
namespace {

constexpr std::string_view kMarkPrefix = ".handed-over-";

void removeIfThere(const QuillonFileManaging& fileManager, const QuillonURL& item) {
  if (fileManager.itemStatus(item)) fileManager.removeItem(item);
}

}  // namespace

void VeskUpdateUncertainHandOff::mark(const QuillonFileManaging& fileManager, const QuillonURL& folder) noexcept {
  try {
    const std::string name = std::string(kMarkPrefix).append(folder.lastPathComponent());
    fileManager.createFile(folder.deletingLastPathComponent().appendingPathComponent(name), {});
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): the installer matters more than the space
  }
}

void VeskUpdateUncertainHandOff::removeMarkedFolders(const QuillonFileManaging& fileManager,
                                                     const QuillonURL& workingFolder) noexcept {
  try {
    if (!VeskUpdateWorkingFolderSafety::isOutOfOthersReach(fileManager, workingFolder)) return;
    for (const std::string& mark : fileManager.contentsOfDirectory(workingFolder)) {
      if (!mark.starts_with(kMarkPrefix)) continue;
      const std::string_view name = std::string_view(mark).substr(kMarkPrefix.size());
      if (!isUUIDString(name)) continue;
      removeIfThere(fileManager, workingFolder.appendingPathComponent(name));
      fileManager.removeItem(workingFolder.appendingPathComponent(mark));
    }
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): there is a next time
  }
}

}  // namespace quillon
