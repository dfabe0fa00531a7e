#pragma once

#include <fcntl.h>

#include <cstddef>
#include <string>
#include <utility>

namespace quillon {

/// Owns an open file.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) noexcept : descriptor_(descriptor) {}
  ~FileDescriptor();
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  [[nodiscard]] int get() const noexcept { return descriptor_; }
  [[nodiscard]] int release() noexcept { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_ = -1;
};

/// Opens the folder `path` below `folder` for reading; its last component must not be a link. With AT_FDCWD, `path` may
/// be absolute. Throws QuillonSystemError.
[[nodiscard]] FileDescriptor openFolder(int folder, const std::string& path);

/// Opens what stands at `path`, several components below `folder`, without following any link on the way and without
/// leaving `folder`. An empty path is the folder itself. Throws QuillonSystemError.
[[nodiscard]] FileDescriptor openFolderBeneath(int folder, const std::string& path);

/// Opens the regular file `name` in `folder`, never following a link and never waiting for a FIFO's other end. Throws
/// QuillonSystemError; for anything that is not a regular file its code is ELOOP (a link), EISDIR (a folder) or ENXIO
/// (everything else).
[[nodiscard]] FileDescriptor openRegularFile(int folder, const std::string& name);

/// All bytes of an open file. Throws QuillonSystemError, EFBIG when there are more than `limit`.
[[nodiscard]] std::string readWholeFile(const FileDescriptor& file, std::size_t limit);

}  // namespace quillon
