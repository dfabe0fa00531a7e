#include "CodeSignature/FileRange.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr std::size_t kBlockSize = 256 * 1024;

bool isZero(std::string_view bytes) {
  return bytes.find_first_not_of('\0') == std::string_view::npos;
}

}  // namespace

std::uint64_t fileLength(const FileDescriptor& file) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) throw QuillonSystemError::posix(errno, "examine", "a file");
  return static_cast<std::uint64_t>(status.st_size);
}

std::size_t readFileAt(const FileDescriptor& file, std::uint64_t offset, std::span<char> block) {
  while (true) {
    const ssize_t count = pread(file.get(), block.data(), block.size(), static_cast<off_t>(offset));
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) throw QuillonSystemError::posix(errno, "read", "a file");
  }
}

void readFileRange(const FileDescriptor& file, std::uint64_t offset, char* bytes, std::size_t length) {
  while (length > 0) {
    const std::size_t count = readFileAt(file, offset, {bytes, length});
    if (count == 0) throw QuillonSystemError::posix(ENODATA, "read", "a file");
    bytes += count;
    offset += count;
    length -= count;
  }
}

std::string readFileRange(const FileDescriptor& file, std::uint64_t offset, std::size_t length) {
  std::string bytes(length, '\0');
  readFileRange(file, offset, bytes.data(), length);
  return bytes;
}

std::string readFileRangeUpTo(const FileDescriptor& file, std::uint64_t offset, std::size_t length) {
  std::string bytes(length, '\0');
  std::size_t filled = 0;
  while (filled < length) {
    const std::size_t count = readFileAt(file, offset + filled, std::span(bytes).subspan(filled));
    if (count == 0) break;
    filled += count;
  }
  bytes.resize(filled);
  return bytes;
}

void writeFileRange(const FileDescriptor& file, std::uint64_t offset, std::string_view bytes) {
  const WriteSignalShield shield;
  while (!bytes.empty()) {
    const ssize_t count = pwrite(file.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw QuillonSystemError::posix(errno, "write", "a file");
    bytes.remove_prefix(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
}

void copyFileRange(const FileDescriptor& from, std::uint64_t fromOffset, std::uint64_t length, const FileDescriptor& to,
                   std::uint64_t toOffset) {
  std::vector<char> block(std::min<std::uint64_t>(kBlockSize, length));
  while (length > 0) {
    const std::size_t count = std::min<std::uint64_t>(block.size(), length);
    readFileRange(from, fromOffset, block.data(), count);
    const std::string_view bytes(block.data(), count);
    if (!isZero(bytes)) writeFileRange(to, toOffset, bytes);
    fromOffset += count;
    toOffset += count;
    length -= count;
  }
}

void setFileLength(const FileDescriptor& file, std::uint64_t length) {
  const WriteSignalShield shield;
  if (ftruncate(file.get(), static_cast<off_t>(length)) != 0) {
    throw QuillonSystemError::posix(errno, "set the length of", "a file");
  }
}

}  // namespace quillon
