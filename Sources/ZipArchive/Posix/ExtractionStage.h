#pragma once

#include <functional>
#include <string>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "ZipArchive/Posix/ArchiveFile.h"

namespace quillon {

/// A hidden folder in the destination, in which an archive is unpacked before anything of it is seen.
///
/// Only this user can enter it, so nobody can exchange a folder in it for a link. What is in it at the end, and it
/// itself, is removed. It is locked while it is in use: what a process that was killed has left is known by that.
class ExtractionStage {
 public:
  /// How its name begins in the destination.
  static constexpr std::string_view kNamePrefix = ".quillon-ditto-";

  /// `destination` is open, and stays so while the stage lives. Removes this user's abandoned stages there, as far as
  /// that is possible. Throws QuillonSystemError.
  explicit ExtractionStage(int destination);
  ~ExtractionStage();
  ExtractionStage(const ExtractionStage&) = delete;
  ExtractionStage& operator=(const ExtractionStage&) = delete;

  [[nodiscard]] int get() const noexcept { return folder_.get(); }

  /// Moves everything into the destination. A folder that is there already gets what the stage's folder holds, also
  /// when it is the user's own and read-only; another item that is there is replaced. Calls `finish` when all
  /// is in place and the user can still enter all of it.
  ///
  /// Throws ZipArchiveError when an item is `archive`, or when one of both is a folder and the other is not,
  /// QuillonSystemError, and what `finish` throws; then the destination is as before.
  void moveIntoDestination(const ArchiveFile& archive, const std::function<void()>& finish);

 private:
  /// Makes the folder; false when another process has taken it for abandoned before it was locked.
  [[nodiscard]] bool make();

  int destination_;
  std::string name_;
  FileDescriptor folder_;
};

}  // namespace quillon
