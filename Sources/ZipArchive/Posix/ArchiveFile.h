#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"

namespace quillon {

/// An archive open for reading at any place. May be used from several threads at once.
class ArchiveFile {
 public:
  /// Throws QuillonSystemError, and ZipArchiveError for what is no regular file.
  explicit ArchiveFile(std::string path);

  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  /// In bytes.
  [[nodiscard]] std::uint64_t length() const noexcept { return length_; }
  /// Whether an item with this identity is the archive itself.
  [[nodiscard]] bool isItem(dev_t device, ino_t inode) const noexcept;

  /// Fills `bytes` with the archive's bytes from `offset` on. Throws ZipArchiveError where the archive ends before, and
  /// QuillonSystemError.
  void read(std::uint64_t offset, std::span<char> bytes) const;
  /// The `length` bytes from `offset` on.
  [[nodiscard]] std::string read(std::uint64_t offset, std::size_t length) const;

 private:
  std::string path_;
  FileDescriptor file_;
  std::uint64_t length_ = 0;
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

}  // namespace quillon
