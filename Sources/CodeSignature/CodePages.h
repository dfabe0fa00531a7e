#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "CodeSignature/CodeHash.h"

namespace quillon {

/// Reads code from `offset` on into `block`, and says how many bytes there were; 0 at the end. Called on several
/// threads at once. May throw.
using CodeReader = std::function<std::size_t(std::uint64_t offset, std::span<char> block)>;

/// Hashes the first `codeLimit` bytes of some code page by page, on all processors, reading each byte once. A page has
/// 2 to the power of `pageSizeLog2` bytes, the last one the rest; with 0 all of the code is one page. Memory does not
/// depend on the sizes of code and pages, but for the hashes themselves.
///
/// For each of `types`, the hashes of all pages one after the other, cut to `codeHashSize`. Code that ends early is
/// hashed as far as it goes. Throws what `read` throws.
[[nodiscard]] std::vector<std::string> hashCodePages(const CodeReader& read, std::uint64_t codeLimit,
                                                     std::uint8_t pageSizeLog2, const std::vector<CodeHashType>& types);

}  // namespace quillon
