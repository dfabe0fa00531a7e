#include "ZipArchive/Posix/EntryReader.h"

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <new>

#include "ZipArchive/ZipArchiveError.h"
#include "ZipArchive/ZipFormat.h"

namespace quillon {
namespace {

constexpr std::size_t kBlockLength = std::size_t{256} * 1024;

[[noreturn]] void refuse(const ZipEntry& entry) {
  throw ZipArchiveError::entry(entry.path, "is damaged");
}

/// Checksum and length of what was handed out so far.
class RunningCheck {
 public:
  explicit RunningCheck(const ZipEntry& entry) noexcept : entry_(entry) {}

  void add(std::string_view bytes) {
    if (bytes.size() > entry_.size - length_) refuse(entry_);
    length_ += bytes.size();
    crc32_ = libdeflate_crc32(crc32_, bytes.data(), bytes.size());
  }
  void finish() const {
    if (length_ != entry_.size || crc32_ != entry_.crc32) refuse(entry_);
  }

 private:
  const ZipEntry& entry_;
  std::uint64_t length_ = 0;
  std::uint32_t crc32_ = 0;
};

/// zlib's state for data without header, ended with it.
class InflateStream {
 public:
  InflateStream() {
    if (inflateInit2(&stream_, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
  }
  ~InflateStream() { inflateEnd(&stream_); }
  InflateStream(const InflateStream&) = delete;
  InflateStream& operator=(const InflateStream&) = delete;

  z_stream* operator->() noexcept { return &stream_; }
  /// Inflates into `block` and returns what it holds then.
  [[nodiscard]] std::string_view fill(char* block, std::size_t length) {
    stream_.next_out = reinterpret_cast<Bytef*>(block);
    stream_.avail_out = static_cast<uInt>(length);
    result_ = inflate(&stream_, Z_NO_FLUSH);
    return {block, length - stream_.avail_out};
  }
  [[nodiscard]] bool isAtEnd() const noexcept { return result_ == Z_STREAM_END; }
  /// Z_BUF_ERROR only says that there is nothing to do without more input.
  [[nodiscard]] bool hasFailed() const noexcept {
    return result_ != Z_OK && result_ != Z_STREAM_END && result_ != Z_BUF_ERROR;
  }

 private:
  z_stream stream_{};
  int result_ = Z_OK;
};

void throwIfStopped(const std::stop_token& stop) {
  if (stop.stop_requested()) throw QuillonCancellationError();
}

}  // namespace

char* EntryReader::Buffer::atLeast(std::size_t length) {
  if (length > length_ || !bytes_) {
    bytes_.reset();
    bytes_.reset(new char[std::max<std::size_t>(length, 1)]);  // make_unique would clear it
    length_ = length;
  }
  return bytes_.get();
}

EntryReader::EntryReader(const ArchiveFile& archive)
    : archive_(&archive), decompressor_(libdeflate_alloc_decompressor(), libdeflate_free_decompressor) {
  if (!decompressor_) throw std::bad_alloc();
}

EntryReader::~EntryReader() = default;
EntryReader::EntryReader(EntryReader&&) noexcept = default;

std::string_view EntryReader::readWhole(const ZipEntry& entry) {
  const auto length = static_cast<std::size_t>(entry.compressedSize);
  char* const bytes = compressed_.atLeast(length);
  archive_->read(entry.dataOffset, {bytes, length});
  const std::string_view compressed(bytes, length);
  const std::string_view content = entry.method == kZipMethodStored ? compressed : inflateWhole(entry, compressed);
  RunningCheck check(entry);
  check.add(content);
  check.finish();
  return content;
}

std::string_view EntryReader::inflateWhole(const ZipEntry& entry, std::string_view compressed) {
  const auto length = static_cast<std::size_t>(entry.size);
  char* const bytes = inflated_.atLeast(length);
  std::size_t consumed = 0;
  std::size_t produced = 0;
  const libdeflate_result result = libdeflate_deflate_decompress_ex(
      decompressor_.get(), compressed.data(), compressed.size(), bytes, length, &consumed, &produced);
  if (result != LIBDEFLATE_SUCCESS || consumed != compressed.size() || produced != length) refuse(entry);
  return {bytes, length};
}

std::string EntryReader::peek(const ZipEntry& entry, std::size_t length) {
  constexpr std::size_t kEnoughInput = 4096;  // behind the largest table that a block can begin with
  const auto available = static_cast<std::size_t>(std::min<std::uint64_t>(entry.compressedSize, kEnoughInput));
  std::string input = archive_->read(entry.dataOffset, available);
  if (entry.method == kZipMethodStored) return input.substr(0, length);
  std::string bytes(length, '\0');
  InflateStream inflater;
  inflater->next_in = reinterpret_cast<Bytef*>(input.data());
  inflater->avail_in = static_cast<uInt>(input.size());
  bytes.resize(inflater.fill(bytes.data(), bytes.size()).size());
  return bytes;
}

void EntryReader::stream(const ZipEntry& entry, const std::function<void(std::string_view)>& sink,
                         const std::stop_token& stop) {
  if (entry.method == kZipMethodStored) {
    streamStored(entry, sink, stop);
  } else {
    streamDeflated(entry, sink, stop);
  }
}

void EntryReader::streamStored(const ZipEntry& entry, const std::function<void(std::string_view)>& sink,
                               const std::stop_token& stop) {
  char* const block = compressed_.atLeast(kBlockLength);
  RunningCheck check(entry);
  for (std::uint64_t done = 0; done < entry.compressedSize;) {
    throwIfStopped(stop);
    const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(kBlockLength, entry.compressedSize - done));
    archive_->read(entry.dataOffset + done, {block, length});
    check.add({block, length});
    sink({block, length});
    done += length;
  }
  check.finish();
}

void EntryReader::streamDeflated(const ZipEntry& entry, const std::function<void(std::string_view)>& sink,
                                 const std::stop_token& stop) {
  char* const input = compressed_.atLeast(kBlockLength);
  char* const output = inflated_.atLeast(kBlockLength);
  InflateStream inflater;
  RunningCheck check(entry);
  std::uint64_t read = 0;
  while (!inflater.isAtEnd()) {
    throwIfStopped(stop);
    if (inflater->avail_in == 0) {
      const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(kBlockLength, entry.compressedSize - read));
      if (length > 0) archive_->read(entry.dataOffset + read, {input, length});
      read += length;
      inflater->next_in = reinterpret_cast<Bytef*>(input);
      inflater->avail_in = static_cast<uInt>(length);
    }
    const bool isInputOver = inflater->avail_in == 0;
    const std::string_view bytes = inflater.fill(output, kBlockLength);
    if (inflater.hasFailed() || (bytes.empty() && isInputOver && !inflater.isAtEnd())) refuse(entry);
    check.add(bytes);
    sink(bytes);
  }
  if (inflater->avail_in != 0 || read != entry.compressedSize) refuse(entry);
  check.finish();
}

}  // namespace quillon
