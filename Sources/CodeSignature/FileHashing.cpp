#include "CodeSignature/FileHashing.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr std::size_t kBlockSize = 128 * 1024;

std::size_t readBlock(const FileDescriptor& file, std::vector<char>& block, std::uint64_t offset, std::size_t length) {
  while (true) {
    const ssize_t count = pread(file.get(), block.data(), length, static_cast<off_t>(offset));
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) throw QuillonSystemError::posix(errno, "read", "a file");
  }
}

}  // namespace

void hashFileRange(const FileDescriptor& file, std::uint64_t offset, std::uint64_t length, CodeHasher& hasher) {
  std::vector<char> block(std::min<std::uint64_t>(kBlockSize, length));
  while (length > 0) {
    const std::size_t count = readBlock(file, block, offset, std::min<std::uint64_t>(block.size(), length));
    if (count == 0) return;
    hasher.update({block.data(), count});
    offset += count;
    length -= count;
  }
}

FileHashing::FileHashing(const std::set<CodeHashType>& types) : block_(kBlockSize) {
  for (const CodeHashType type : types) hashers_.emplace_back(type);
}

CodeHashes FileHashing::hashFile(const FileDescriptor& file) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) throw QuillonSystemError::posix(errno, "examine", "a file");
  const auto size = static_cast<std::uint64_t>(status.st_size);
  std::uint64_t offset = 0;
  // The announced size saves the read that only finds the end; files that announce none are read until nothing comes.
  while (size == 0 || offset < size) {
    const std::size_t count = readBlock(file, block_, offset, block_.size());
    if (count == 0) break;
    for (CodeHasher& hasher : hashers_) hasher.update({block_.data(), count});
    offset += count;
  }
  CodeHashes hashes;
  for (CodeHasher& hasher : hashers_) {
    std::string hash = hasher.finish();
    hash.resize(codeHashSize(hasher.type()));
    hashes.emplace(hasher.type(), std::move(hash));
  }
  return hashes;
}

}  // namespace quillon
