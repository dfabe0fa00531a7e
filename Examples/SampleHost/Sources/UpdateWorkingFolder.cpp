#include "UpdateWorkingFolder.h"

#include "QuillonCore/Values/QuillonError.h"

namespace sample {

void removeUpdateWorkingFolder(const quillon::QuillonFileManaging& files, const std::string& applicationFolderName) {
  try {
    const auto applicationSupport = files.applicationSupportDirectories();
    if (applicationSupport.empty()) return;
    const quillon::QuillonURL folder = applicationSupport.front()
                                           .appendingPathComponent(applicationFolderName)
                                           .appendingPathComponent(kUpdateWorkingFolderName);
    const auto status = files.itemStatus(folder);
    if (status && status->type == quillon::QuillonFileType::directory) files.removeItem(folder);
  } catch (const quillon::QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): the next start tries again
  }
}

}  // namespace sample
