#include "CodeSignature/FileHashing.h"

namespace quillon {
namespace {

constexpr std::size_t kBlockSize = 128 * 1024;

}  // namespace

FileHashing::FileHashing(const std::set<CodeHashType>& types) : block_(kBlockSize) {
  for (const CodeHashType type : types) hashers_.emplace_back(type);
}

CodeHashes FileHashing::hashFile(const FileDescriptor& file) {
  const std::uint64_t size = fileLength(file);
  std::uint64_t offset = 0;
  // The announced size saves the read that only finds the end; files that announce none are read until nothing comes.
  while (size == 0 || offset < size) {
    const std::size_t count = readFileAt(file, offset, block_);
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
