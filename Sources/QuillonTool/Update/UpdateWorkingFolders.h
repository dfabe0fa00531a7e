#pragma once

#include <string>
#include <vector>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonTool/Update/InstalledApplication.h"

namespace quillon {

/// Where the updates of one application are downloaded and unpacked: a folder for each attempt in one of two folders
/// that nothing else uses.
class UpdateWorkingFolders {
 public:
  explicit UpdateWorkingFolders(const InstalledApplication& application);

  /// A folder level, named for the application.
  [[nodiscard]] const std::string& applicationFolderName() const noexcept { return applicationFolderName_; }
  /// A further level below that one, of this command and this application alone.
  [[nodiscard]] const std::string& updateFolderName() const noexcept { return updateFolderName_; }

  /// Removes what earlier attempts have left, as far as it can be removed; returns the names of their folders. Only for
  /// whoever knows that no other attempt is under way.
  std::vector<std::string> removeLeftovers(const QuillonFileManaging& fileManager) const;

 private:
  std::string applicationFolderName_;
  std::string updateFolderName_;
};

}  // namespace quillon
