#include "QuillonTool/Update/UpdateWorkingFolders.h"

#include "QuillonCore/Text/QuillonPathComponent.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr std::string_view kPrefix = "quillon-update-";

std::vector<std::string> removeContents(const QuillonFileManaging& fileManager, const QuillonURL& folder) {
  std::vector<std::string> removed;
  try {
    const auto status = fileManager.itemStatus(folder);
    // In the folder for temporary files anybody could have made it, and a link would lead elsewhere.
    if (!status || status->type != QuillonFileType::directory ||
        status->userIdentifier != fileManager.effectiveUserIdentifier()) {
      return removed;
    }
    for (const std::string& name : fileManager.contentsOfDirectory(folder)) {
      fileManager.removeItem(folder.appendingPathComponent(name));
      removed.push_back(name);
    }
    fileManager.removeEmptyDirectory(folder);
  } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): the next run tries again
  }
  return removed;
}

}  // namespace

UpdateWorkingFolders::UpdateWorkingFolders(const InstalledApplication& application)
    : applicationFolderName_(isSinglePathComponent(application.name) ? application.name : application.identifier),
      updateFolderName_(std::string(kPrefix).append(application.identifier)) {}

std::vector<std::string> UpdateWorkingFolders::removeLeftovers(const QuillonFileManaging& fileManager) const {
  std::vector<QuillonURL> parents = fileManager.applicationSupportDirectories();
  if (parents.size() > 1) parents.erase(parents.begin() + 1, parents.end());
  parents.push_back(fileManager.temporaryDirectory());
  std::vector<std::string> removed;
  for (const QuillonURL& parent : parents) {
    const QuillonURL applicationFolder = parent.appendingPathComponent(applicationFolderName_);
    const QuillonURL folder = applicationFolder.appendingPathComponent(updateFolderName_);
    for (std::string& name : removeContents(fileManager, folder)) removed.push_back(std::move(name));
    try {
      fileManager.removeEmptyDirectory(applicationFolder);
    } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): it is not empty, or was never made
    }
  }
  return removed;
}

}  // namespace quillon
