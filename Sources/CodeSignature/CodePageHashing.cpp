#include "CodeSignature/CodePageHashing.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "CodeSignature/FileRange.h"
#include "QuillonCore/Runtime/QuillonParallelFor.h"

namespace quillon {
namespace {

/// Bytes that one thread reads and hashes at a time, unless a page is longer.
constexpr std::uint64_t kStretch = 256 * 1024;

/// What one thread works with.
struct Worker {
  std::vector<CodeHasher> hashers;
  std::vector<char> bytes;
};

}  // namespace

std::map<CodeHashType, std::string> hashCodePages(const FileDescriptor& file, std::uint64_t offset,
                                                  std::uint64_t length, std::uint64_t pageSize,
                                                  const std::set<CodeHashType>& types) {
  const std::uint64_t stretch = std::max(kStretch, pageSize);
  const std::size_t count = codePageCount(length, stretch);
  std::map<CodeHashType, std::string> hashes;
  for (const CodeHashType type : types) {
    hashes.emplace(type, std::string(codePageCount(length, pageSize) * codeHashSize(type), '\0'));
  }
  std::vector<Worker> workers(quillonParallelForWorkerCount(count));
  for (Worker& worker : workers) {
    for (const CodeHashType type : types) worker.hashers.emplace_back(type);
  }
  quillonParallelFor(count, [&](std::size_t index, std::size_t number) {
    Worker& worker = workers[number];
    const std::uint64_t start = index * stretch;
    worker.bytes.resize(std::min(stretch, length - start));
    readFileRange(file, offset + start, worker.bytes.data(), worker.bytes.size());
    const std::string_view bytes(worker.bytes.data(), worker.bytes.size());
    for (CodeHasher& hasher : worker.hashers) {
      const std::size_t hashSize = codeHashSize(hasher.type());
      char* hash = hashes.at(hasher.type()).data() + start / pageSize * hashSize;
      for (std::size_t page = 0; page < bytes.size(); page += pageSize, hash += hashSize) {
        hasher.update(bytes.substr(page, pageSize));
        hasher.finish().copy(hash, hashSize);
      }
    }
  });
  return hashes;
}

}  // namespace quillon
