#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/FileOpening.h"

namespace quillon {

/// Hashes every page of the `length` bytes of code from `offset` of `file` on, with all of `types` in one pass over the
/// bytes, on all processors. The last page may be shorter. Returns the hashes one after the other, as they stand in a
/// code directory. `pageSize` is a power of two. Throws QuillonSystemError.
[[nodiscard]] std::map<CodeHashType, std::string> hashCodePages(const FileDescriptor& file, std::uint64_t offset,
                                                                std::uint64_t length, std::uint64_t pageSize,
                                                                const std::set<CodeHashType>& types);

/// Number of pages that `length` bytes of code have.
[[nodiscard]] constexpr std::uint64_t codePageCount(std::uint64_t length, std::uint64_t pageSize) noexcept {
  return length / pageSize + (length % pageSize == 0 ? 0 : 1);
}

}  // namespace quillon
