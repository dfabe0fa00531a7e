#pragma once

#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"

namespace quillon {

/// The folder that an archive is unpacked to. It and the folders around it are made where they are missing, and removed
/// again at the end unless they are kept.
class DestinationFolder {
 public:
  /// Throws QuillonSystemError; what was made until then is removed.
  explicit DestinationFolder(std::string path);
  ~DestinationFolder();
  DestinationFolder(const DestinationFolder&) = delete;
  DestinationFolder& operator=(const DestinationFolder&) = delete;

  [[nodiscard]] int get() const noexcept { return folder_.get(); }
  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  void keep() noexcept { made_.clear(); }

 private:
  void makeMissingFolders();
  void removeMadeFolders() noexcept;

  std::string path_;
  std::vector<std::string> made_;
  FileDescriptor folder_;
};

}  // namespace quillon
