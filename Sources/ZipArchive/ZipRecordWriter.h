#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace quillon {

/// What the headers of an entry to be written say.
struct ZipWrittenEntry {
  /// UTF-8; of a folder with "/" at its end.
  std::string name;
  std::uint16_t method = 0;
  std::uint32_t crc32 = 0;
  std::uint64_t size = 0;
  std::uint64_t compressedSize = 0;
  std::uint64_t localHeaderOffset = 0;
  /// With the bits for the type of file, as in `st_mode`.
  std::uint32_t mode = 0;
  std::chrono::sys_seconds modificationTime{};
  /// Whether the local header has room for zip64 numbers, which has to be decided before the size is known.
  bool isLarge = false;
};

/// The header before an entry's data. Its length depends on the name, the time and `isLarge` only.
[[nodiscard]] std::string zipLocalHeader(const ZipWrittenEntry& entry);

/// The entry's header in the central directory.
[[nodiscard]] std::string zipCentralHeader(const ZipWrittenEntry& entry);

/// The records that end an archive, those of zip64 where the others have no room.
[[nodiscard]] std::string zipEndRecords(std::uint64_t directoryOffset, std::uint64_t directoryLength,
                                        std::uint64_t entryCount);

}  // namespace quillon
