#pragma once

#include <string>
#include <string_view>

#include "CodeSignature/FileOpening.h"

namespace quillon {

/// The next content of a file, written beside it until it takes the file's place in one step. Unless that is said to be
/// final, the file is at the end what it was before.
class FileReplacement {
 public:
  /// Begins an empty file in `folder`, which is for the one called `name` there. Throws QuillonSystemError.
  FileReplacement(const FileDescriptor& folder, std::string name);
  /// Removes what was written, or else the file that it has replaced.
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  /// Open for reading and writing; nobody else may open it.
  [[nodiscard]] const FileDescriptor& file() const noexcept { return file_; }

  /// Gives what was written the owner, permissions and extended attributes of `original`, brings it to the disk and
  /// lets it take the name. Throws QuillonSystemError, and then nothing has changed under that name.
  void install(const FileDescriptor& original);
  /// Makes that final.
  void keep() noexcept { isKept_ = true; }

 private:
  FileDescriptor folder_;
  std::string name_;
  /// Of what was written; once that is installed, of the previous file.
  std::string temporaryName_;
  FileDescriptor file_;
  bool isInstalled_ = false;
  bool isKept_ = false;
};

/// Whether a file of this name is what a replacement has left behind that was interrupted.
[[nodiscard]] bool isUnfinishedReplacement(std::string_view name) noexcept;

/// Removes all such files in `folder`. Throws QuillonSystemError.
void removeUnfinishedReplacements(const FileDescriptor& folder);

}  // namespace quillon
