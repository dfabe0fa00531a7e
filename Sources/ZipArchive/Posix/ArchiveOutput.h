#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"

namespace quillon {

/// A file that is written beside its final place and takes it when it is complete. Removed unless it does.
class ArchiveOutput {
 public:
  /// Throws QuillonSystemError.
  explicit ArchiveOutput(const std::string& path);
  ~ArchiveOutput();
  ArchiveOutput(const ArchiveOutput&) = delete;
  ArchiveOutput& operator=(const ArchiveOutput&) = delete;

  /// Number of bytes appended so far.
  [[nodiscard]] std::uint64_t length() const noexcept { return length_; }
  void append(std::string_view bytes);
  /// Writes over what was appended.
  void overwrite(std::uint64_t offset, std::string_view bytes);
  /// Whether an item is this file, or the one that it will replace.
  [[nodiscard]] bool isItem(const struct stat& item) const noexcept;
  /// Where the file is until it is published.
  [[nodiscard]] const std::string& temporaryPath() const noexcept { return temporaryPath_; }
  /// Flushes the file and puts it in its place.
  void publish();

 private:
  std::string path_;
  std::string temporaryPath_;
  FileDescriptor file_;
  struct stat own_ {};
  struct stat replaced_ {};
  std::uint64_t length_ = 0;
  bool isPublished_ = false;
};

}  // namespace quillon
