#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Support/UpdatableSample.h"

namespace quillon::testing {

/// Who updates the application.
///
/// For root that is an ordinary user, whose folders can be put on volumes of their own; where such a user cannot get at
/// this build, it is root.
class SoakUser {
 public:
  /// Gives the application, its folder and the user's own folders in `folder` to the user.
  SoakUser(const std::filesystem::path& folder, UpdatableSample& application);

  [[nodiscard]] uid_t identifier() const noexcept { return identifier_; }
  /// The beginning of the command line of a `quillon` that runs as the user.
  [[nodiscard]] const std::vector<std::string>& quillon() const noexcept { return quillon_; }
  /// The folders in which a finished update leaves no file.
  [[nodiscard]] const std::vector<std::filesystem::path>& workingFolders() const noexcept { return workingFolders_; }

 private:
  uid_t identifier_;
  std::vector<std::string> quillon_;
  std::vector<std::filesystem::path> workingFolders_;
};

}  // namespace quillon::testing
