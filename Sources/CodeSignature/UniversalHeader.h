#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// First word of a universal file (FAT_MAGIC). The header is big-endian whatever its images are.
inline constexpr std::uint32_t kUniversalMagic = 0xCAFEBABE;

/// One image of a universal file, as its header describes it (mach-o/fat.h).
struct UniversalHeaderEntry {
  /// Processor type and subtype, capability bits included.
  std::uint32_t cpuType = 0;
  std::uint32_t cpuSubtype = 0;
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  /// Base-two logarithm of what `offset` is a multiple of, at most 31.
  std::uint32_t alignment = 0;
};

/// Number of bytes of a header with `count` entries.
[[nodiscard]] constexpr std::uint64_t universalHeaderLength(std::uint64_t count) noexcept {
  return 8 + 20 * count;
}

/// Entry `index` of `header`, counted or not. Throws CodeSignatureError(badObjectFormat) when there are no bytes of it.
[[nodiscard]] UniversalHeaderEntry readUniversalHeaderEntry(std::string_view header, std::uint64_t index);

/// First place at or behind `end` where an image with this alignment may stand.
[[nodiscard]] std::uint64_t universalImageOffset(std::uint64_t end, std::uint32_t alignment) noexcept;

/// Throws QuillonError when an image does not lie in the first 4 GiB, which is as far as entries reach.
[[nodiscard]] std::string buildUniversalHeader(const std::vector<UniversalHeaderEntry>& entries);

}  // namespace quillon
