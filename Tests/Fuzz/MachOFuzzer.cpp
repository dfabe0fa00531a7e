// Mach-O headers: whatever is accepted lies inside the file, as an image in memory and as a file on the disk.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/MachOFile.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

void requireInside(std::uint64_t offset, std::uint64_t length, std::uint64_t limit) {
  require(offset <= limit && length <= limit - offset);
}

void checkImage(const quillon::MachOImage& image, std::uint64_t length) {
  require(image.commandsOffset <= image.commandsEnd && image.commandsEnd <= length);
  for (const quillon::MachOSegment& segment : image.segments) {
    requireInside(segment.fileOffset, segment.fileLength, length);
    requireInside(segment.commandOffset, 8, image.commandsEnd);
    for (const quillon::MachOSection& section : segment.sections) {
      if (section.fileOffset != 0) requireInside(section.fileOffset, section.length, length);
    }
  }
  if (image.signature) {
    require(image.signature->dataOffset >= image.commandsEnd);
    requireInside(image.signature->dataOffset, image.signature->dataLength, length);
    requireInside(image.signature->commandOffset, 16, image.commandsEnd);
  }
  require(!image.stringTableEnd || *image.stringTableEnd <= length);
  require(!image.uuid || image.uuid->size() == 16);
}

void checkInMemory(std::string_view bytes) {
  try {
    const quillon::MachOImage image = quillon::parseMachOImage(bytes, bytes.size());
    checkImage(image, bytes.size());
    require(quillon::machOHeaderLength(bytes, bytes.size()) == image.commandsEnd);
    require(quillon::machOFileType(bytes) == image.fileType);
  } catch (const quillon::CodeSignatureError&) {
    // Refusing is a right answer to most inputs.
  }
}

void checkSlices(const quillon::MachOFile& object) {
  require(!object.slices.empty() && object.nativeSlice() < object.slices.size());
  for (const quillon::MachOSlice& slice : object.slices) {
    requireInside(slice.offset, slice.length, object.length);
    checkImage(slice.image, slice.length);
    for (const quillon::MachOSlice& other : object.slices) {
      if (&slice == &other) continue;
      require(slice.end() <= other.offset || other.end() <= slice.offset);
      require(slice.architecture() != other.architecture());
    }
  }
}

void checkStrictSlices(const quillon::MachOFile& object) {
  std::uint64_t end = 0;
  for (const quillon::MachOSlice& slice : object.slices) {
    end = std::max(end, slice.end());
    if (slice.image.signature) require(slice.image.signature->dataEnd() == slice.length);
  }
  require(end == object.length);
}

void checkOnDisk(const quillon::FileDescriptor& file) {
  try {
    const quillon::MachOFile object = quillon::readMachOFile(file);
    require(quillon::isMachOFile(file));
    checkSlices(object);
    quillon::checkMachOLayout(object, file);
    checkStrictSlices(object);
  } catch (const quillon::CodeSignatureError&) {
    // As above.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const quillon::FileDescriptor file(memfd_create("object", MFD_CLOEXEC));
  require(ftruncate(file.get(), static_cast<off_t>(size)) == 0);
  require(pwrite(file.get(), data, size, 0) == static_cast<ssize_t>(size));
  checkInMemory({reinterpret_cast<const char*>(data), size});
  checkOnDisk(file);
  return 0;
}
