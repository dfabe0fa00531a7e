#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ZipArchive/Posix/SourceTree.h"
#include "ZipArchive/ZipRecordWriter.h"

struct libdeflate_compressor;

namespace quillon {

/// An entry with its compressed bytes.
struct PackedEntry {
  ZipWrittenEntry entry;
  std::string data;
};

/// Turns items into entries. Each thread has one of its own.
class EntryPacker {
 public:
  /// Files up to this many bytes are packed in memory.
  static constexpr std::uint64_t kLargestWhole = std::uint64_t{8} << 20;

  EntryPacker();

  /// The entries of an item: its own, and that of its AppleDouble file when it has attributes. A file must not have
  /// more than `kLargestWhole` bytes. Throws QuillonSystemError, and ZipArchiveError when it changes meanwhile.
  [[nodiscard]] std::vector<PackedEntry> pack(const SourceItem& item, int folder);
  /// That of the AppleDouble file only; none for an item without attributes.
  [[nodiscard]] std::vector<PackedEntry> packAttributes(const SourceItem& item, int descriptor);

 private:
  [[nodiscard]] PackedEntry packed(ZipWrittenEntry entry, std::string content);

  std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor_;
};

/// The headers of an item, but for what depends on its content.
[[nodiscard]] ZipWrittenEntry writtenEntry(const SourceItem& item);

/// Throws ZipArchiveError unless an item that is open as `descriptor`, and was read, is as it was when it was listed.
void requireUnchanged(const SourceItem& item, int descriptor);

/// Opens a file or folder of a source tree, following no link. Throws QuillonSystemError, and ZipArchiveError when
/// something else is there by now.
[[nodiscard]] FileDescriptor openSourceItem(const SourceItem& item, int folder);

}  // namespace quillon
