#pragma once

#include <cstdint>
#include <string_view>

#include "CodeSignature/FileOpening.h"

namespace quillon {

/// The `length` bytes of `file` from `offset` on. Throws QuillonSystemError, ENODATA when the file ends before.
[[nodiscard]] std::string readFileRange(const FileDescriptor& file, std::uint64_t offset, std::size_t length);

/// Writes `bytes` at `offset`, making the file longer when needed. Throws QuillonSystemError.
void writeFileRange(const FileDescriptor& file, std::uint64_t offset, std::string_view bytes);

/// Copies `length` bytes from one file to a place in another that holds nothing yet: stretches of zeros are not
/// written, so that files with holes keep them. Memory does not grow with the length. Throws QuillonSystemError.
void copyFileRange(const FileDescriptor& from, std::uint64_t fromOffset, std::uint64_t length, const FileDescriptor& to,
                   std::uint64_t toOffset);

/// Makes `file` exactly `length` bytes long; what is added reads as zero. Throws QuillonSystemError.
void setFileLength(const FileDescriptor& file, std::uint64_t length);

}  // namespace quillon
