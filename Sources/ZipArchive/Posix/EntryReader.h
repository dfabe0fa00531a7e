#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>

#include "ZipArchive/Posix/ArchiveFile.h"
#include "ZipArchive/ZipEntry.h"

struct libdeflate_decompressor;

namespace quillon {

/// Yields the bytes of entries, each checked against its size and CRC-32. Keeps its buffers, so each thread has one of
/// its own.
class EntryReader {
 public:
  /// `archive` has to outlive the reader.
  explicit EntryReader(const ArchiveFile& archive);
  ~EntryReader();
  EntryReader(EntryReader&&) noexcept;
  EntryReader& operator=(EntryReader&&) = delete;

  /// All bytes of `entry`, in memory. Valid until the next call. Throws ZipArchiveError when the entry is damaged.
  [[nodiscard]] std::string_view readWhole(const ZipEntry& entry);

  /// At most the first `length` bytes of `entry`, unchecked. `length` is small.
  [[nodiscard]] std::string peek(const ZipEntry& entry, std::size_t length);

  /// Hands the bytes of `entry` to `sink`, in order and in pieces, with little memory. The check of the whole comes
  /// last: throws ZipArchiveError, after pieces were handed out, when the entry is damaged; QuillonCancellationError on
  /// `stop`.
  void stream(const ZipEntry& entry, const std::function<void(std::string_view)>& sink, const std::stop_token& stop);

 private:
  /// Memory that is not cleared and only grows.
  class Buffer {
   public:
    [[nodiscard]] char* atLeast(std::size_t length);

   private:
    std::unique_ptr<char[]> bytes_;
    std::size_t length_ = 0;
  };

  [[nodiscard]] std::string_view inflateWhole(const ZipEntry& entry, std::string_view compressed);
  void streamStored(const ZipEntry& entry, const std::function<void(std::string_view)>& sink,
                    const std::stop_token& stop);
  void streamDeflated(const ZipEntry& entry, const std::function<void(std::string_view)>& sink,
                      const std::stop_token& stop);

  const ArchiveFile* archive_;
  std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor_;
  Buffer compressed_;
  Buffer inflated_;
};

}  // namespace quillon
