#include "CodeSignature/FileRange.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <span>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr std::size_t kBlockSize = 256 * 1024;

bool isZero(std::string_view bytes) {
  return bytes.find_first_not_of('\0') == std::string_view::npos;
}

void fill(const FileDescriptor& file, std::uint64_t offset, std::span<char> bytes) {
  while (!bytes.empty()) {
    const std::size_t count = readFileAt(file, offset, bytes);
    if (count == 0) throw QuillonSystemError::posix(ENODATA, "read", "a file");
    bytes = bytes.subspan(count);
    offset += count;
  }
}

}  // namespace

std::string readFileRange(const FileDescriptor& file, std::uint64_t offset, std::size_t length) {
  std::string bytes(length, '\0');
  fill(file, offset, bytes);
  return bytes;
}

void writeFileRange(const FileDescriptor& file, std::uint64_t offset, std::string_view bytes) {
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
    fill(from, fromOffset, std::span(block).first(count));
    const std::string_view bytes(block.data(), count);
    if (!isZero(bytes)) writeFileRange(to, toOffset, bytes);
    fromOffset += count;
    toOffset += count;
    length -= count;
  }
}

void setFileLength(const FileDescriptor& file, std::uint64_t length) {
  if (ftruncate(file.get(), static_cast<off_t>(length)) != 0) {
    throw QuillonSystemError::posix(errno, "set the length of", "a file");
  }
}

}  // namespace quillon
