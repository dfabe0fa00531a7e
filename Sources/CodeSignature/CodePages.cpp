#include "CodeSignature/CodePages.h"

#include <algorithm>
#include <optional>

#include "QuillonCore/Runtime/QuillonParallelFor.h"

namespace quillon {
namespace {

/// Read at a time: small enough to stay in a processor's own cache until it is hashed, large enough that reading costs
/// nothing beside hashing.
constexpr std::uint64_t kBlockSize = 256 * 1024;

class PageHashing {
 public:
  PageHashing(const CodeReader& read, std::uint64_t codeLimit, std::uint8_t pageSizeLog2,
              const std::vector<CodeHashType>& types)
      : read_(read),
        codeLimit_(codeLimit),
        pageSize_(pageSizeLog2 == 0 ? codeLimit : std::uint64_t{1} << pageSizeLog2) {
    const std::uint64_t pages = codeLimit == 0 ? 0 : (codeLimit - 1) / pageSize_ + 1;
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
      if (!worker) worker.emplace(types_);
      hashItem(item, *worker);
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
  };

  /// What a thread needs and keeps: setting a hash up costs as much as hashing half a page.
  struct Worker {
    explicit Worker(const std::vector<TypeHashes>& types) : block(kBlockSize) {
      for (const TypeHashes& type : types) hashers.emplace_back(type.type);
    }
    std::vector<char> block;
    std::vector<CodeHasher> hashers;
  };

  void hashItem(std::uint64_t item, Worker& worker) {
    const std::uint64_t firstPage = item * pagesPerItem_;
    const std::uint64_t begin = firstPage * pageSize_;
    const std::uint64_t end = begin + std::min(pagesPerItem_ * pageSize_, codeLimit_ - begin);
    std::uint64_t page = firstPage;
    std::uint64_t pageEnd = begin + std::min(pageSize_, end - begin);
    for (std::uint64_t offset = begin; offset < end;) {
      const std::size_t count = read_(offset, std::span(worker.block).first(std::min(kBlockSize, end - offset)));
      if (count == 0) break;
      std::string_view bytes(worker.block.data(), count);
      while (!bytes.empty()) {
        const std::string_view part = bytes.substr(0, std::min<std::uint64_t>(bytes.size(), pageEnd - offset));
        for (CodeHasher& hasher : worker.hashers) hasher.update(part);
        bytes.remove_prefix(part.size());
        offset += part.size();
        if (offset != pageEnd) continue;
        finishPage(page++, worker);
        pageEnd += std::min(pageSize_, end - pageEnd);
      }
    }
    // Code that ended early.
    if (page * pageSize_ < end) finishPage(page, worker);
  }

  void finishPage(std::uint64_t page, Worker& worker) {
    for (std::size_t i = 0; i < types_.size(); ++i) {
      worker.hashers[i].finish(std::span(types_[i].hashes).subspan(page * types_[i].size, types_[i].size));
    }
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
