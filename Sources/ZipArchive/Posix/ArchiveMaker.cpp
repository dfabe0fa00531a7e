#include "ZipArchive/Posix/ArchiveMaker.h"

#include <libdeflate.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"
#include "QuillonCore/Runtime/QuillonParallelFor.h"
#include "QuillonCore/Values/QuillonError.h"
#include "ZipArchive/Posix/ArchiveContents.h"
#include "ZipArchive/Posix/ArchiveOutput.h"
#include "ZipArchive/Posix/EntryPacker.h"
#include "ZipArchive/Posix/SourceTree.h"
#include "ZipArchive/ZipArchiveError.h"
#include "ZipArchive/ZipFormat.h"
#include "ZipArchive/ZipRecordWriter.h"

namespace quillon {
namespace {

constexpr std::size_t kBlockLength = std::size_t{256} * 1024;
/// What is packed before it is written: bytes, and items.
constexpr std::uint64_t kBatchSize = std::uint64_t{16} << 20;
constexpr std::size_t kBatchCount = 1024;

/// zlib's state for data without header, ended with it.
class DeflateStream {
 public:
  DeflateStream() {
    constexpr int kMemoryLevel = 8;  // zlib's default
    if (deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, kMemoryLevel, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
      throw std::bad_alloc();
    }
  }
  ~DeflateStream() { deflateEnd(&stream_); }
  DeflateStream(const DeflateStream&) = delete;
  DeflateStream& operator=(const DeflateStream&) = delete;

  /// Appends the compressed form of `bytes` to the archive.
  void add(std::string& bytes, bool isLast, ArchiveOutput& output) {
    stream_.next_in = reinterpret_cast<Bytef*>(bytes.data());
    stream_.avail_in = static_cast<uInt>(bytes.size());
    std::string block(kBlockLength, '\0');
    do {
      stream_.next_out = reinterpret_cast<Bytef*>(block.data());
      stream_.avail_out = static_cast<uInt>(block.size());
      (void)deflate(&stream_, isLast ? Z_FINISH : Z_NO_FLUSH);  // cannot fail with room for output
      output.append(std::string_view(block).substr(0, block.size() - stream_.avail_out));
    } while (stream_.avail_out == 0);
  }

 private:
  z_stream stream_{};
};

class Maker {
 public:
  Maker(const SourceTree& tree, ArchiveOutput& output, std::stop_token stop)
      : tree_(tree), output_(output), stop_(std::move(stop)), packers_(workerCount()) {}

  void run() {
    std::size_t next = 0;
    while (next < tree_.items.size()) {
      throwIfStopped();
      const std::size_t end = batchEnd(next);
      if (end == next) {
        addLarge(tree_.items[next++]);
      } else {
        addBatch(next, end);
        next = end;
      }
    }
    const std::uint64_t directoryOffset = output_.length();
    output_.append(directory_);
    output_.append(zipEndRecords(directoryOffset, directory_.size(), entryCount_));
  }

 private:
  static std::size_t workerCount() { return quillonParallelForWorkerCount(kBatchCount); }

  void throwIfStopped() const {
    if (stop_.stop_requested()) throw QuillonCancellationError();
  }

  static bool isLarge(const SourceItem& item) {
    return S_ISREG(item.status.st_mode) && static_cast<std::uint64_t>(item.status.st_size) > EntryPacker::kLargestWhole;
  }

  /// One past the last item that is packed together with the item `begin`; `begin` itself when that is large.
  [[nodiscard]] std::size_t batchEnd(std::size_t begin) const {
    std::uint64_t size = 0;
    std::size_t end = begin;
    while (end < tree_.items.size() && end - begin < kBatchCount && size < kBatchSize && !isLarge(tree_.items[end])) {
      if (S_ISREG(tree_.items[end].status.st_mode)) size += static_cast<std::uint64_t>(tree_.items[end].status.st_size);
      ++end;
    }
    return end;
  }

  void addBatch(std::size_t begin, std::size_t end) {
    std::vector<std::vector<PackedEntry>> packed(end - begin);
    quillonParallelFor(end - begin, [&](std::size_t index, std::size_t worker) {
      throwIfStopped();
      const SourceItem& item = tree_.items[begin + index];
      refuseOwnFile(item);
      packed[index] = packers_[worker].pack(item, tree_.folder.get());
    });
    for (const std::vector<PackedEntry>& entries : packed) {
      for (const PackedEntry& entry : entries) add(entry);
    }
  }

  void refuseOwnFile(const SourceItem& item) const {
    if (output_.isItem(item.status)) throw ZipArchiveError("The archive lies in its own source.");
  }

  void add(PackedEntry packed) {
    packed.entry.localHeaderOffset = output_.length();
    output_.append(zipLocalHeader(packed.entry));
    output_.append(packed.data);
    note(packed.entry);
  }

  void note(const ZipWrittenEntry& entry) {
    directory_ += zipCentralHeader(entry);
    ++entryCount_;
  }

  /// The header is written again when the sizes are known.
  void addLarge(const SourceItem& item) {
    refuseOwnFile(item);
    const FileDescriptor file = openSourceItem(item, tree_.folder.get());
    ZipWrittenEntry entry = writtenEntry(item);
    // Incompressible bytes grow by less than a thousandth.
    entry.isLarge = static_cast<std::uint64_t>(item.status.st_size) >= kZip64Marker32 / 1000 * 999;
    entry.localHeaderOffset = output_.length();
    entry.method = kZipMethodDeflated;
    output_.append(zipLocalHeader(entry));
    const std::uint64_t dataOffset = output_.length();
    deflateFile(item, file.get(), entry);
    entry.compressedSize = output_.length() - dataOffset;
    output_.overwrite(entry.localHeaderOffset, zipLocalHeader(entry));
    note(entry);
    for (PackedEntry& attributes : packers_.front().packAttributes(item, file.get())) add(std::move(attributes));
  }

  void deflateFile(const SourceItem& item, int file, ZipWrittenEntry& entry) {
    DeflateStream deflater;
    std::string block;
    do {
      throwIfStopped();
      block.resize(kBlockLength);
      const ssize_t count = read(file, block.data(), block.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) throw QuillonSystemError::posix(errno, "read", item.path);
      block.resize(static_cast<std::size_t>(count));
      entry.size += block.size();
      entry.crc32 = libdeflate_crc32(entry.crc32, block.data(), block.size());
      deflater.add(block, block.empty(), output_);
    } while (!block.empty());
    requireUnchanged(item, file);
  }

  const SourceTree& tree_;
  ArchiveOutput& output_;
  std::stop_token stop_;
  std::vector<EntryPacker> packers_;
  std::string directory_;
  std::uint64_t entryCount_ = 0;
};

/// Whether the archive is to stand in a folder that goes into it, where it would be part of what it was made of.
bool liesInSource(const std::string& archivePath, const SourceTree& tree) {
  const std::size_t slash = archivePath.rfind('/');
  const std::string path = slash == std::string::npos ? "." : archivePath.substr(0, slash + 1);
  struct stat folder {};
  struct stat source {};
  if (stat(path.c_str(), &folder) != 0) throw QuillonSystemError::posix(errno, "write", archivePath);
  if (fstat(tree.folder.get(), &source) != 0) throw QuillonSystemError::posix(errno, "examine", "the source");
  const auto isFolder = [&folder](const struct stat& item) {
    return item.st_dev == folder.st_dev && item.st_ino == folder.st_ino;
  };
  return (tree.isFolderSource && isFolder(source)) ||
         std::any_of(tree.items.begin(), tree.items.end(),
                     [&](const SourceItem& item) { return isFolder(item.status); });
}

}  // namespace

void makeArchive(const std::string& source, const std::string& archivePath, ArchiveRoot root,
                 const ZipArchiveLimits& limits, const std::stop_token& stop) {
  const WriteSignalShield shield;
  const SourceTree tree = readSourceTree(source, root);
  if (liesInSource(archivePath, tree)) throw ZipArchiveError("The archive lies in its own source.");
  ArchiveOutput output(archivePath);
  Maker(tree, output, stop).run();
  // The reader itself says whether this archive could be unpacked.
  (void)readArchiveContents(output.temporaryPath(), limits, stop);
  output.publish();
}

}  // namespace quillon
