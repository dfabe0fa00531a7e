#include "UpdateWorkingFolder.h"

#include <vector>

#include "QuillonCore/Values/QuillonError.h"

namespace sample {
namespace {

using quillon::QuillonFileManaging;
using quillon::QuillonURL;

/// In the folder for temporary files anybody could have made it, and a link would lead elsewhere.
bool isOwnFolder(const QuillonFileManaging& files, const QuillonURL& folder) {
  const auto status = files.itemStatus(folder);
  return status && status->type == quillon::QuillonFileType::directory &&
         status->userIdentifier == files.effectiveUserIdentifier();
}

void removeFrom(const QuillonFileManaging& files, const QuillonURL& applicationFolder) {
  try {
    const QuillonURL folder = applicationFolder.appendingPathComponent(kUpdateWorkingFolderName);
    if (isOwnFolder(files, applicationFolder) && isOwnFolder(files, folder)) files.removeItem(folder);
  } catch (const quillon::QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): the next start tries again
  }
}

}  // namespace

void removeUpdateWorkingFolder(const QuillonFileManaging& files, const std::string& applicationFolderName) {
  const auto applicationSupport = files.applicationSupportDirectories();
  if (!applicationSupport.empty()) {
    removeFrom(files, applicationSupport.front().appendingPathComponent(applicationFolderName));
  }
  removeFrom(files, files.temporaryDirectory().appendingPathComponent(applicationFolderName));
}

}  // namespace sample
