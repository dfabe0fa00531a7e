#include "CodeSignature/MachOFile.h"

#include <algorithm>
#include <tuple>

#include "CodeSignature/BlobReader.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/FileRange.h"
#include "CodeSignature/UniversalHeader.h"

namespace quillon {
namespace {

constexpr std::uint32_t kSliceLimit = 100;
constexpr std::uint32_t kAlignmentLimit = 31;
constexpr std::uint64_t kImageStartSize = 32;
/// For all slices together: a file of many slices must not make the reader hold many times what one may have.
constexpr std::uint64_t kHeadersLimit = 16 << 20;
constexpr std::uint64_t kBlockSize = 64 * 1024;

constexpr std::uint32_t kCPUTypeX86_64 = 0x01000007;
constexpr std::uint32_t kCPUTypeARM64 = 0x0100000C;
constexpr std::uint32_t kCPUSubtypeMask = 0x00FFFFFF;

[[noreturn]] void fail(CodeSignatureErrorCode code = CodeSignatureErrorCode::badObjectFormat) {
  throw CodeSignatureError(code);
}

void require(bool condition, CodeSignatureErrorCode code = CodeSignatureErrorCode::badObjectFormat) {
  if (!condition) fail(code);
}

std::optional<UniversalHeaderEntry> entryAt(std::string_view header, std::uint64_t index) {
  if (header.size() < universalHeaderLength(index + 1)) return std::nullopt;
  UniversalHeaderEntry entry = readUniversalHeaderEntry(header, index);
  entry.cpuSubtype &= kCPUSubtypeMask;
  return entry;
}

/// The entries that the header counts. Tools that had to stay readable for systems without 64-bit ARM wrote such a
/// slice as one entry more than they counted, and the platform still takes it.
std::vector<UniversalHeaderEntry> readEntries(std::string_view bytes) {
  const std::uint32_t count = BlobReader(bytes).u32(4).value_or(0);
  require(count >= 1 && count <= kSliceLimit);
  std::vector<UniversalHeaderEntry> entries;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto entry = entryAt(bytes, i);
    if (!entry) fail();
    entries.push_back(*entry);
  }
  const auto uncounted = entryAt(bytes, count);
  if (uncounted && uncounted->cpuType == kCPUTypeARM64) entries.push_back(*uncounted);
  return entries;
}

void checkEntries(std::vector<UniversalHeaderEntry> entries, std::uint64_t fileLength) {
  std::uint64_t end = universalHeaderLength(entries.size());
  std::ranges::sort(entries, {}, &UniversalHeaderEntry::offset);
  for (const UniversalHeaderEntry& entry : entries) {
    require(entry.offset >= end && entry.length > 0 && entry.alignment <= kAlignmentLimit);
    end = entry.offset + entry.length;
  }
  require(end <= fileLength);
  const auto architecture = [](const UniversalHeaderEntry& entry) {
    return std::tuple(entry.cpuType, entry.cpuSubtype);
  };
  std::ranges::sort(entries, {}, architecture);
  require(std::ranges::adjacent_find(entries, {}, architecture) == entries.end());
}

class ImageReading {
 public:
  explicit ImageReading(const FileDescriptor& file) noexcept : file_(file) {}

  MachOImage read(std::uint64_t offset, std::uint64_t length) {
    const std::string start = readFileRangeUpTo(file_, offset, std::min(kImageStartSize, length));
    const std::uint64_t headerLength = machOHeaderLength(start, length);
    require(headerLength <= budget_);
    budget_ -= headerLength;
    MachOImage image = parseMachOImage(readFileRangeUpTo(file_, offset, headerLength), length);
    require(isSignableMachOFileType(image.fileType));
    return image;
  }

 private:
  const FileDescriptor& file_;
  std::uint64_t budget_ = kHeadersLimit;
};

void readUniversalFile(const FileDescriptor& file, MachOFile& object) {
  const std::vector<UniversalHeaderEntry> entries =
      readEntries(readFileRangeUpTo(file, 0, universalHeaderLength(kSliceLimit + 1)));
  checkEntries(entries, object.length);
  ImageReading reading(file);
  for (const UniversalHeaderEntry& entry : entries) {
    MachOImage image = reading.read(entry.offset, entry.length);
    // The entry decides which slice runs, the image which one is verified.
    require(image.cpuType == entry.cpuType && image.cpuSubtype == entry.cpuSubtype);
    object.slices.push_back({entry.offset, entry.length, entry.alignment, std::move(image)});
  }
}

bool isUniversal(std::string_view start) {
  return BlobReader(start).u32(0) == kUniversalMagic;
}

void requireStrict(bool condition) {
  require(condition, CodeSignatureErrorCode::mainExecutableInvalid);
}

void checkImageEnd(const MachOSlice& slice) {
  const MachOImage& image = slice.image;
  const MachOSegment* linkEdit = image.findSegment("__LINKEDIT");
  if (linkEdit == nullptr) {
    requireStrict(!image.signature && image.stringTableEnd == slice.length);
    return;
  }
  requireStrict(linkEdit->fileEnd() == slice.length);
  if (!image.signature) return;
  const MachOSignatureCommand& signature = *image.signature;
  requireStrict(signature.dataOffset >= linkEdit->fileOffset && signature.dataEnd() == linkEdit->fileEnd());
  // What lies behind the signature's first byte is not hashed, so nothing of it may be mapped as code or data.
  for (const MachOSegment& segment : image.segments) {
    requireStrict(&segment == linkEdit || segment.fileLength == 0 || segment.fileEnd() <= signature.dataOffset);
  }
}

void requireZeros(const FileDescriptor& file, std::uint64_t offset, std::uint64_t end) {
  while (offset < end) {
    const std::string block = readFileRangeUpTo(file, offset, std::min(kBlockSize, end - offset));
    requireStrict(!block.empty() && block.find_first_not_of('\0') == std::string::npos);
    offset += block.size();
  }
}

void checkGaps(const MachOFile& object, const FileDescriptor& file) {
  std::vector<const MachOSlice*> slices;
  for (const MachOSlice& slice : object.slices) slices.push_back(&slice);
  std::ranges::sort(slices, {}, &MachOSlice::offset);
  std::uint64_t end = universalHeaderLength(slices.size());
  for (const MachOSlice* slice : slices) {
    // The first gap belongs to the header and may have any size.
    const bool isFirst = slice == slices.front();
    requireStrict(isFirst || slice->offset - end < std::uint64_t{1} << slice->alignment);
    requireZeros(file, end, slice->offset);
    end = slice->end();
  }
  requireStrict(end == object.length);
}

}  // namespace

std::string MachOFile::formatName() const {
  std::string architectures;
  for (const MachOSlice& slice : slices) {
    if (!architectures.empty()) architectures += ' ';
    architectures += slice.architecture();
  }
  return (isUniversal ? "Mach-O universal (" : "Mach-O thin (") + architectures + ")";
}

std::size_t MachOFile::nativeSlice() const noexcept {
#if defined(__aarch64__)
  constexpr std::uint32_t kNativeType = kCPUTypeARM64;
  constexpr std::uint32_t kNativeSubtype = 0;
#else
  constexpr std::uint32_t kNativeType = kCPUTypeX86_64;
  constexpr std::uint32_t kNativeSubtype = 3;
#endif
  std::size_t found = slices.size();
  for (std::size_t i = slices.size(); i-- > 0;) {
    const MachOImage& image = slices[i].image;
    if (image.cpuType != kNativeType) continue;
    if (image.cpuSubtype == kNativeSubtype) return i;
    found = i;
  }
  return found == slices.size() ? 0 : found;
}

bool isMachOFile(const FileDescriptor& file) {
  std::string start = readFileRangeUpTo(file, 0, universalHeaderLength(1));
  if (isUniversal(start)) {
    // A compiled Java class begins with the same four bytes; no image stands where its "first slice" would be.
    const auto entry = entryAt(start, 0);
    if (!entry || *BlobReader(start).u32(4) > kSliceLimit) return false;
    start = readFileRangeUpTo(file, entry->offset, kImageStartSize);
  }
  const auto type = machOFileType(start);
  return type && isSignableMachOFileType(*type);
}

MachOFile readMachOFile(const FileDescriptor& file) {
  MachOFile object;
  object.length = fileLength(file);
  object.isUniversal = isUniversal(readFileRangeUpTo(file, 0, 4));
  if (object.isUniversal) {
    readUniversalFile(file, object);
  } else {
    object.slices.push_back({0, object.length, 0, ImageReading(file).read(0, object.length)});
  }
  return object;
}

void checkMachOLayout(const MachOFile& object, const FileDescriptor& file) {
  for (const MachOSlice& slice : object.slices) checkImageEnd(slice);
  if (object.isUniversal) checkGaps(object, file);
}

}  // namespace quillon
