#pragma once

#include <cstddef>
#include <cstdint>

namespace quillon {

/// What an archive may contain at most. Whatever asks for more is refused before anything is written.
///
/// The values leave room for every application bundle and keep a small archive from filling memory or disk.
struct ZipArchiveLimits {
  /// Entries, and items that unpacking makes: a name can ask for many folders.
  std::size_t entries = 250'000;
  /// Bytes of the central directory, which is read whole.
  std::uint64_t directoryLength = std::uint64_t{64} << 20;
  /// Bytes of everything unpacked.
  std::uint64_t totalSize = std::uint64_t{128} << 30;
  /// How many times the archive's length everything unpacked may be, once it is more than `unratedSize`. Bundles with
  /// many empty tables reach 20.
  std::uint64_t ratio = 200;
  /// Bytes unpacked up to which the ratio does not matter.
  std::uint64_t unratedSize = std::uint64_t{64} << 20;
  /// Components of a name.
  std::size_t depth = 100;
  /// Bytes of a name: the longest path of macOS (PATH_MAX of <sys/syslimits.h>).
  std::size_t nameLength = 1024;
  /// Bytes of one component of a name: NAME_MAX of both platforms.
  std::size_t componentLength = 255;
  /// Bytes of the target of a symbolic link: the longest path of macOS without its NUL. What it leads through counts as
  /// the components of a name do.
  std::uint64_t linkTargetLength = 1023;
  /// Bytes of the targets of all symbolic links, which are kept in memory.
  std::uint64_t linkTargetsLength = std::uint64_t{16} << 20;
  /// Bytes of an AppleDouble file, which is read whole.
  std::uint64_t appleDoubleSize = std::uint64_t{8} << 20;
};

}  // namespace quillon
