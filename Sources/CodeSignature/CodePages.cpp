#include "CodeSignature/CodePages.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "CodeSignature/MultiBufferSHA256.h"
#include "QuillonCore/Runtime/QuillonParallelFor.h"

namespace quillon {
namespace {

/// Read at a time: small enough to stay in a processor's own cache until it is hashed, large enough that reading costs
/// nothing beside hashing.
constexpr std::uint64_t kBlockSize = 256 * 1024;

/// Code from which on it pays to set up hashing of several pages at once.
constexpr std::uint64_t kMultiBufferLimit = 1024 * 1024;

class PageHashing {
 public:
  PageHashing(const CodeReader& read, std::uint64_t codeLimit, std::uint8_t pageSizeLog2,
              const std::vector<CodeHashType>& types)
      : read_(read),
        codeLimit_(codeLimit),
        pageSize_(pageSizeLog2 == 0 ? codeLimit : std::uint64_t{1} << pageSizeLog2) {
    const std::uint64_t pages = codePageCount(codeLimit, pageSizeLog2);
    pagesPerItem_ = std::max<std::uint64_t>(1, kBlockSize / std::max<std::uint64_t>(1, pageSize_));
    items_ = pages / pagesPerItem_ + (pages % pagesPerItem_ == 0 ? 0 : 1);
    for (const CodeHashType type : types) {
      types_.push_back(
          {.type = type, .size = codeHashSize(type), .hashes = std::string(pages * codeHashSize(type), 0)});
    }
  }

  std::vector<std::string> run() {
    std::vector<std::optional<Worker>> workers(quillonParallelForWorkerCount(items_));
    quillonParallelFor(items_, [&](std::size_t item, std::size_t index) {
      std::optional<Worker>& worker = workers[index];
      if (!worker)
        worker.emplace(types_, codeLimit_ >= kMultiBufferLimit && pageSize_ <= MultiBufferSHA256::kLongestMessage);
      if (pageSize_ <= kBlockSize) {
        hashPagesOfBlock(item, *worker);
      } else {
        hashLargePage(item, *worker);
      }
    });
    std::vector<std::string> hashes;
    for (TypeHashes& type : types_) hashes.push_back(std::move(type.hashes));
    return hashes;
  }

 private:
  struct TypeHashes {
    CodeHashType type;
    std::size_t size;
    std::string hashes;

    [[nodiscard]] std::span<char> slot(std::uint64_t page) { return std::span(hashes).subspan(page * size, size); }
  };

  /// What a thread needs and keeps: setting a hash up costs as much as hashing half a page.
  struct Worker {
    Worker(const std::vector<TypeHashes>& types, bool hashesSeveralPagesAtOnce) : block(kBlockSize) {
      for (const TypeHashes& type : types) hashers.emplace_back(type.type);
      if (hashesSeveralPagesAtOnce) multiBuffer = MultiBufferSHA256::make();
    }
    std::vector<char> block;
    std::vector<CodeHasher> hashers;
    /// Null for hashing one page after the other.
    std::unique_ptr<MultiBufferSHA256> multiBuffer;
    std::vector<std::string_view> pages;
    std::vector<char> digests;
  };

  void hashPagesOfBlock(std::uint64_t item, Worker& worker) {
    const std::uint64_t begin = item * pagesPerItem_ * pageSize_;
    const std::uint64_t length = std::min(pagesPerItem_ * pageSize_, codeLimit_ - begin);
    const std::string_view bytes = fillBlock(begin, length, worker);
    worker.pages.clear();
    for (std::uint64_t offset = 0; offset < bytes.size(); offset += pageSize_) {
      worker.pages.push_back(bytes.substr(offset, pageSize_));
    }
    // Of code that ended early, the page that would have come next.
    const bool isCutAtPage = bytes.size() < length && bytes.size() % pageSize_ == 0;
    for (std::size_t i = 0; i < types_.size(); ++i) {
      hashPages(item * pagesPerItem_, i, worker);
      if (isCutAtPage) worker.hashers[i].finish(types_[i].slot(item * pagesPerItem_ + worker.pages.size()));
    }
  }

  [[nodiscard]] std::string_view fillBlock(std::uint64_t begin, std::uint64_t length, Worker& worker) const {
    std::size_t filled = 0;
    while (filled < length) {
      const std::size_t count = read_(begin + filled, std::span(worker.block).first(length).subspan(filled));
      if (count == 0) break;
      filled += count;
    }
    return {worker.block.data(), filled};
  }

  /// Hashes the worker's pages, the first of which is `firstPage`, with one of the algorithms.
  void hashPages(std::uint64_t firstPage, std::size_t typeIndex, Worker& worker) {
    TypeHashes& type = types_[typeIndex];
    const bool isSHA256 = type.type == CodeHashType::sha256 || type.type == CodeHashType::sha256Truncated;
    if (isSHA256 && worker.multiBuffer) {
      constexpr std::size_t kDigestSize = MultiBufferSHA256::kDigestSize;
      worker.digests.resize(worker.pages.size() * kDigestSize);
      worker.multiBuffer->hash(worker.pages, worker.digests);
      for (std::size_t i = 0; i < worker.pages.size(); ++i) {
        std::copy_n(worker.digests.data() + i * kDigestSize, type.size, type.slot(firstPage + i).begin());
      }
      return;
    }
    for (std::size_t i = 0; i < worker.pages.size(); ++i) {
      worker.hashers[typeIndex].update(worker.pages[i]);
      worker.hashers[typeIndex].finish(type.slot(firstPage + i));
    }
  }

  void hashLargePage(std::uint64_t page, Worker& worker) {
    std::uint64_t offset = page * pageSize_;
    const std::uint64_t end = offset + std::min(pageSize_, codeLimit_ - offset);
    while (offset < end) {
      const std::string_view bytes = fillBlock(offset, std::min(kBlockSize, end - offset), worker);
      if (bytes.empty()) break;
      for (CodeHasher& hasher : worker.hashers) hasher.update(bytes);
      offset += bytes.size();
    }
    for (std::size_t i = 0; i < types_.size(); ++i) worker.hashers[i].finish(types_[i].slot(page));
  }

  const CodeReader& read_;
  std::uint64_t codeLimit_;
  std::uint64_t pageSize_;
  std::uint64_t pagesPerItem_ = 1;
  std::uint64_t items_ = 0;
  std::vector<TypeHashes> types_;
};

}  // namespace

std::vector<std::string> hashCodePages(const CodeReader& read, std::uint64_t codeLimit, std::uint8_t pageSizeLog2,
                                       const std::vector<CodeHashType>& types) {
  return PageHashing(read, codeLimit, pageSizeLog2, types).run();
}

}  // namespace quillon
