#pragma once

#include <string>

#include "CodeSignature/FileOpening.h"

namespace quillon {

/// The next content of a file, written beside it until it takes the file's place in one step. Without `commit` the file
/// stays as it is and what was written is removed.
class FileReplacement {
 public:
  /// Begins an empty file in `folder`, which is for the one called `name` there. Throws QuillonSystemError.
  FileReplacement(const FileDescriptor& folder, std::string name);
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  /// Open for reading and writing; nobody else may open it.
  [[nodiscard]] const FileDescriptor& file() const noexcept { return file_; }

  /// Gives what was written the owner, permissions and extended attributes of `original`, brings it to the disk and
  /// lets it take the name. Throws QuillonSystemError, and then nothing has changed under that name.
  void commit(const FileDescriptor& original);

 private:
  FileDescriptor folder_;
  std::string name_;
  std::string temporaryName_;
  FileDescriptor file_;
};

/// Removes what replacements that were interrupted have left behind in `folder`. Throws QuillonSystemError.
void removeUnfinishedReplacements(const FileDescriptor& folder);

}  // namespace quillon
