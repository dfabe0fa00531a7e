#pragma once

#include <sys/stat.h>

#include <string>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPath.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Makes a file under another name and then puts it in its place as a whole. One that was not put there is removed.
class AtomicFilePlacement {
 public:
  static constexpr mode_t kFileMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;

  /// Nothing is made yet. Throws QuillonSystemError, as the other operations do.
  explicit AtomicFilePlacement(const QuillonURL& file);
  ~AtomicFilePlacement();
  AtomicFilePlacement(const AtomicFilePlacement&) = delete;
  AtomicFilePlacement& operator=(const AtomicFilePlacement&) = delete;

  /// The folder of both names.
  [[nodiscard]] int folder() const noexcept { return place_.folder.get(); }
  /// The other name, at which nothing is.
  [[nodiscard]] const std::string& scratchName() const noexcept { return scratchName_; }
  /// Makes the file there, for writing, with the mode above.
  [[nodiscard]] FileDescriptor create() const;
  /// Gives the file that is there its name, replacing what has it. Nothing is flushed to disk.
  void finish();

 private:
  const QuillonURL file_;
  const QuillonPosixPlace place_;
  const std::string scratchName_;
  bool isFinished_ = false;
};

}  // namespace quillon
