#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillon {

/// Sizes and place of an entry as its header's fixed part has them, in which markers stand for zip64 numbers.
struct ZipExtents {
  std::uint64_t size = 0;
  std::uint64_t compressedSize = 0;
  std::uint64_t localHeaderOffset = 0;

  friend bool operator==(const ZipExtents&, const ZipExtents&) = default;
};

/// What the extra fields of a header say. Unknown fields are passed over.
struct ZipExtraFields {
  std::optional<std::chrono::sys_time<std::chrono::nanoseconds>> modificationTime;
  /// The name of field "up", which holds for the header's name with this CRC-32 only.
  std::optional<std::string> unicodePath;
  std::uint32_t unicodePathNameCRC = 0;
  /// Whether a field describes a device or gives the name of a link's target, as those for hard links and special files
  /// do.
  bool hasUnixLinkOrDevice = false;
  /// The value of the zip64 field.
  std::optional<std::string_view> zip64;
};

/// Reads the extra fields of a header. Views into `bytes`. Throws ZipArchiveError where a field ends behind the bytes
/// or comes twice. Up to three bytes of padding at the end are no field.
[[nodiscard]] ZipExtraFields parseZipExtraFields(std::string_view bytes);

/// `extents` with every 32-bit marker replaced by its number in the zip64 field. `hasOffset` is false for local
/// headers, which have none. Throws ZipArchiveError when a number is missing.
[[nodiscard]] ZipExtents resolvedZip64Extents(ZipExtents extents, const ZipExtraFields& fields, bool hasOffset);

}  // namespace quillon
