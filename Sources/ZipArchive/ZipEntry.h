#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace quillon {

enum class ZipEntryKind : std::uint8_t { file, folder, symbolicLink };

/// An entry of an archive's central directory that was found to be harmless by itself.
struct ZipEntry {
  /// Path below the destination, in UTF-8; empty for the destination itself.
  std::string path;
  /// The name's bytes, which the local header repeats.
  std::string rawName;
  ZipEntryKind kind = ZipEntryKind::file;
  std::uint16_t method = 0;
  std::uint16_t flags = 0;
  std::uint32_t crc32 = 0;
  std::uint64_t size = 0;
  std::uint64_t compressedSize = 0;
  std::uint64_t localHeaderOffset = 0;
  /// Where the compressed bytes begin; known once the local header was read.
  std::uint64_t dataOffset = 0;
  /// Permissions, at most 0777. Absent when the entry was made on a system without them.
  std::optional<std::uint16_t> permissions;
  std::chrono::sys_time<std::chrono::nanoseconds> modificationTime{};
};

}  // namespace quillon
