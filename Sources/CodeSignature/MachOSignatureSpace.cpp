#include "CodeSignature/MachOSignatureSpace.h"

#include <algorithm>

namespace quillon {
namespace {

constexpr std::uint32_t kCodeSignatureCommand = 0x1D;
constexpr std::uint64_t kAlignment = 16;

// Processors whose systems map memory in pages of 16 KiB (mach/machine.h); all others have pages of 4 KiB.
constexpr std::uint32_t kARM = 0x0000000C;
constexpr std::uint32_t kARM64 = 0x0100000C;
constexpr std::uint32_t kARM64With32BitPointers = 0x0200000C;

// Offsets of fields in the header, the segment commands and the signature command (mach-o/loader.h).
constexpr std::uint64_t kCommandCount = 16;
constexpr std::uint64_t kCommandsLength = 20;
constexpr std::uint64_t kMemoryLength32 = 28;
constexpr std::uint64_t kMemoryLength64 = 32;
constexpr std::uint64_t kFileLength32 = 36;
constexpr std::uint64_t kFileLength64 = 48;
constexpr std::uint64_t kDataOffset = 8;
constexpr std::uint64_t kDataLength = 12;

[[noreturn]] void refuse(const std::string& reason) {
  throw MachOSpaceError("The image cannot be signed: " + reason);
}

std::uint64_t roundedUp(std::uint64_t value, std::uint64_t multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

/// Writes `value` in the image's byte order.
void put(std::string& header, std::uint64_t offset, std::uint64_t value, unsigned width, bool isBigEndian) {
  for (unsigned i = 0; i < width; ++i) {
    const unsigned shift = 8 * (isBigEndian ? width - 1 - i : i);
    header[offset + i] = static_cast<char>((value >> shift) & 0xFF);
  }
}

/// The signature can only grow where nothing follows, neither in the file nor in the segment.
void requireLastInFile(const MachOImage& image, const MachOSegment& linkEdit, std::uint64_t length) {
  if (linkEdit.fileEnd() != length) refuse("bytes follow its __LINKEDIT segment");
  for (const MachOSegment& segment : image.segments) {
    if (&segment == &linkEdit || segment.fileLength == 0) continue;
    if (segment.fileEnd() > linkEdit.fileOffset) refuse("its __LINKEDIT segment is not the last");
  }
  if (!image.signature || image.signature->dataLength == 0) return;
  if (image.signature->dataOffset < linkEdit.fileOffset || image.signature->dataEnd() != length) {
    refuse("its signature does not stand at the end of the __LINKEDIT segment");
  }
}

/// First byte behind the load commands that belongs to something else.
std::uint64_t firstContent(const MachOImage& image, std::uint64_t contentEnd) {
  std::uint64_t first = contentEnd;
  for (const MachOSegment& segment : image.segments) {
    // The first segment begins with the header itself.
    if (segment.fileOffset > 0 && segment.fileLength > 0) first = std::min(first, segment.fileOffset);
    for (const MachOSection& section : segment.sections) {
      if (section.fileOffset > 0 && section.length > 0) first = std::min(first, section.fileOffset);
    }
  }
  return first;
}

void requireHeaderSpace(const MachOImage& image, std::string_view start, std::uint64_t limit) {
  constexpr std::uint64_t kNeeded = MachOSignatureSpace::kCommandLength;
  const std::uint64_t unused = limit < image.commandsEnd ? 0 : limit - image.commandsEnd;
  if (unused < kNeeded) {
    refuse("its header has " + std::to_string(unused) + " unused bytes, and the signature command needs " +
           std::to_string(kNeeded) + "; link it with more header padding");
  }
  const std::string_view space = start.substr(std::min<std::uint64_t>(image.commandsEnd, start.size()), kNeeded);
  if (space.size() != kNeeded || space.find_first_not_of('\0') != std::string_view::npos) {
    refuse("the bytes behind its load commands are in use, and the signature command needs them");
  }
}

}  // namespace

std::uint32_t memoryPageSizeLog2(std::uint32_t cpuType) noexcept {
  const bool hasLargePages = cpuType == kARM || cpuType == kARM64 || cpuType == kARM64With32BitPointers;
  return hasLargePages ? 14 : 12;
}

MachOSignatureSpace::MachOSignatureSpace(const MachOImage& image, std::string_view start, std::uint64_t length)
    : image_(image), linkEdit_(image.findSegment("__LINKEDIT")), header_(start.substr(0, image.commandsEnd)) {
  if (linkEdit_ == nullptr) refuse("it has no __LINKEDIT segment, where the signature belongs");
  if (header_.size() != image.commandsEnd) refuse("its header is incomplete");
  requireLastInFile(image, *linkEdit_, length);
  const bool hasSignature = image.signature && image.signature->dataLength > 0;
  contentEnd_ = hasSignature ? image.signature->dataOffset : linkEdit_->fileEnd();
  codeLimit_ = roundedUp(contentEnd_, kAlignment);

  const std::uint64_t limit = firstContent(image, contentEnd_);
  if (limit < image.commandsEnd) refuse("its load commands run into its content");
  if (image.signature) {
    commandOffset_ = image.signature->commandOffset;
    return;
  }
  requireHeaderSpace(image, start, limit);
  commandOffset_ = image.commandsEnd;
  header_.append(kCommandLength, '\0');
  put(header_, commandOffset_, kCodeSignatureCommand, 4, image.isBigEndian);
  put(header_, commandOffset_ + 4, kCommandLength, 4, image.isBigEndian);
  put(header_, kCommandCount, std::uint64_t{image.commandCount} + 1, 4, image.isBigEndian);
  put(header_, kCommandsLength, image.commandsEnd - image.commandsOffset + kCommandLength, 4, image.isBigEndian);
}

std::uint64_t MachOSignatureSpace::extentOf(std::uint64_t length) noexcept {
  return roundedUp(length, kAlignment);
}

std::string MachOSignatureSpace::headerFor(std::uint64_t extent) const {
  // The end, too, has to be a number of 32 bits: readers add the two as such, and 32-bit images state the difference.
  if (codeLimit_ > UINT32_MAX || extent > UINT32_MAX - codeLimit_) refuse("it is longer than 4 GiB");
  const std::uint64_t fileLength = codeLimit_ + extent - linkEdit_->fileOffset;
  const std::uint64_t memoryLength = roundedUp(fileLength, std::uint64_t{1} << memoryPageSizeLog2(image_.cpuType));
  const std::uint64_t addressLimit = image_.is64Bit ? UINT64_MAX : UINT32_MAX;
  if (memoryLength > addressLimit || linkEdit_->address > addressLimit - memoryLength) {
    refuse("its __LINKEDIT segment leaves the address space");
  }
  for (const MachOSegment& segment : image_.segments) {
    if (&segment == linkEdit_ || segment.memoryLength == 0 || segment.address < linkEdit_->address) continue;
    if (segment.address - linkEdit_->address < memoryLength) {
      refuse("its __LINKEDIT segment has no room to grow before " + segment.name);
    }
  }
  std::string header = header_;
  const unsigned width = image_.is64Bit ? 8 : 4;
  const std::uint64_t command = linkEdit_->commandOffset;
  put(header, command + (image_.is64Bit ? kMemoryLength64 : kMemoryLength32), memoryLength, width, image_.isBigEndian);
  put(header, command + (image_.is64Bit ? kFileLength64 : kFileLength32), fileLength, width, image_.isBigEndian);
  put(header, commandOffset_ + kDataOffset, codeLimit_, 4, image_.isBigEndian);
  put(header, commandOffset_ + kDataLength, extent, 4, image_.isBigEndian);
  return header;
}

}  // namespace quillon
