#include "CodeSignature/MachOImage.h"

#include <algorithm>
#include <array>

#include "CodeSignature/CodeSignatureError.h"

namespace quillon {
namespace {

constexpr std::uint32_t kMagic32 = 0xFEEDFACE;
constexpr std::uint32_t kMagic64 = 0xFEEDFACF;
constexpr std::uint32_t kCapabilityBits = 0xFF000000;
constexpr std::uint64_t kHeaderLimit = 16 << 20;
constexpr std::uint64_t kNameLength = 16;

// Load commands.
constexpr std::uint32_t kSegment32 = 0x1;
constexpr std::uint32_t kSymbolTable = 0x2;
constexpr std::uint32_t kSegment64 = 0x19;
constexpr std::uint32_t kUUID = 0x1B;
constexpr std::uint32_t kCodeSignature = 0x1D;
constexpr std::uint32_t kMinimumVersionMacOS = 0x24;
constexpr std::uint32_t kMinimumVersionIOS = 0x25;
constexpr std::uint32_t kMinimumVersionTVOS = 0x2F;
constexpr std::uint32_t kMinimumVersionWatchOS = 0x30;
constexpr std::uint32_t kBuildVersion = 0x32;

// Section types, the lowest byte of a section's flags, that have no bytes in the file.
constexpr std::uint32_t kSectionTypeMask = 0xFF;
constexpr auto kZeroFillTypes = std::to_array<std::uint32_t>({0x1, 0xC, 0x12});

[[noreturn]] void fail() {
  throw CodeSignatureError(CodeSignatureErrorCode::badObjectFormat);
}

void require(bool condition) {
  if (!condition) fail();
}

/// Throws unless `length` bytes from `offset` on lie in the first `limit` bytes; no sum of hostile numbers can wrap.
void requireInside(std::uint64_t offset, std::uint64_t length, std::uint64_t limit) {
  require(offset <= limit && length <= limit - offset);
}

/// Reads numbers in an image's own byte order. What lies outside the bytes is an error.
class ImageReader {
 public:
  ImageReader(std::string_view bytes, bool isBigEndian) noexcept : bytes_(bytes), isBigEndian_(isBigEndian) {}

  [[nodiscard]] std::uint32_t u32(std::uint64_t offset) const { return static_cast<std::uint32_t>(integer(offset, 4)); }
  [[nodiscard]] std::uint64_t u64(std::uint64_t offset) const { return integer(offset, 8); }
  /// An address or a length, which is as wide as the image's pointers.
  [[nodiscard]] std::uint64_t word(std::uint64_t offset, bool is64Bit) const {
    return integer(offset, is64Bit ? 8 : 4);
  }

  [[nodiscard]] std::string_view bytes(std::uint64_t offset, std::uint64_t length) const {
    requireInside(offset, length, bytes_.size());
    return bytes_.substr(offset, length);
  }
  /// A name of at most 16 bytes, padded with NUL bytes.
  [[nodiscard]] std::string name(std::uint64_t offset) const {
    const std::string_view field = bytes(offset, kNameLength);
    return std::string(field.substr(0, field.find('\0')));
  }
  /// The part that is one load command.
  [[nodiscard]] ImageReader part(std::uint64_t offset, std::uint64_t length) const {
    return {bytes(offset, length), isBigEndian_};
  }

 private:
  [[nodiscard]] std::uint64_t integer(std::uint64_t offset, std::uint64_t width) const {
    const std::string_view field = bytes(offset, width);
    std::uint64_t value = 0;
    for (std::uint64_t i = 0; i < width; ++i) {
      value = (value << 8) | static_cast<unsigned char>(field[isBigEndian_ ? i : width - 1 - i]);
    }
    return value;
  }

  std::string_view bytes_;
  bool isBigEndian_;
};

struct Format {
  bool is64Bit = false;
  bool isBigEndian = false;

  [[nodiscard]] std::uint64_t headerSize() const noexcept { return is64Bit ? 32 : 28; }
};

std::optional<Format> formatOf(std::string_view start) {
  if (start.size() < 4) return std::nullopt;
  for (const bool isBigEndian : {false, true}) {
    const std::uint32_t magic = ImageReader(start, isBigEndian).u32(0);
    if (magic == kMagic32 || magic == kMagic64) return Format{magic == kMagic64, isBigEndian};
  }
  return std::nullopt;
}

Format requireFormat(std::string_view start) {
  const auto format = formatOf(start);
  if (!format) fail();
  return *format;
}

/// Where the fields of segments and sections stand, which depends on the width of the addresses before them.
struct SegmentLayout {
  std::uint64_t address, memoryLength, fileOffset, fileLength, sectionCount, sections;
  std::uint64_t sectionSize, sectionLength, sectionOffset, sectionFlags;
};

constexpr SegmentLayout kSegmentLayout32{24, 28, 32, 36, 48, 56, 68, 36, 40, 56};
constexpr SegmentLayout kSegmentLayout64{24, 32, 40, 48, 64, 72, 80, 40, 48, 64};

/// Reads the load commands of one image into it.
class CommandReading {
 public:
  CommandReading(MachOImage& image, std::uint64_t imageLength) noexcept : image_(image), imageLength_(imageLength) {}

  void read(std::uint32_t kind, const ImageReader& command, std::uint64_t offset, std::uint64_t length) {
    switch (kind) {
      case kSegment32:
      case kSegment64:
        // The kernel loads neither kind into the other's address space.
        require(image_.is64Bit == (kind == kSegment64));
        readSegment(command, offset, length);
        break;
      case kSymbolTable:
        readSymbolTable(command);
        break;
      case kUUID:
        readUUID(command);
        break;
      case kCodeSignature:
        readSignature(command, offset, length);
        break;
      case kBuildVersion:
        readBuildVersion(command);
        break;
      default:
        readMinimumVersion(kind, command);
    }
  }

 private:
  void readSegment(const ImageReader& command, std::uint64_t offset, std::uint64_t length) {
    const SegmentLayout& layout = image_.is64Bit ? kSegmentLayout64 : kSegmentLayout32;
    MachOSegment segment;
    segment.name = command.name(8);
    segment.commandOffset = offset;
    segment.address = command.word(layout.address, image_.is64Bit);
    segment.memoryLength = command.word(layout.memoryLength, image_.is64Bit);
    segment.fileOffset = command.word(layout.fileOffset, image_.is64Bit);
    segment.fileLength = command.word(layout.fileLength, image_.is64Bit);
    requireInside(segment.fileOffset, segment.fileLength, imageLength_);
    const std::uint64_t count = command.u32(layout.sectionCount);
    requireInside(layout.sections, count * layout.sectionSize, length);
    segment.sections.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i) {
      const std::uint64_t start = layout.sections + i * layout.sectionSize;
      segment.sections.push_back(readSection(command.part(start, layout.sectionSize), layout));
    }
    image_.segments.push_back(std::move(segment));
  }

  [[nodiscard]] MachOSection readSection(const ImageReader& fields, const SegmentLayout& layout) const {
    MachOSection section;
    section.name = fields.name(0);
    section.length = fields.word(layout.sectionLength, image_.is64Bit);
    const std::uint32_t type = fields.u32(layout.sectionFlags) & kSectionTypeMask;
    if (std::ranges::find(kZeroFillTypes, type) != kZeroFillTypes.end()) return section;
    section.fileOffset = fields.u32(layout.sectionOffset);
    requireInside(section.fileOffset, section.length, imageLength_);
    return section;
  }

  void readSymbolTable(const ImageReader& command) {
    const std::uint64_t stringsOffset = command.u32(16);
    const std::uint64_t stringsLength = command.u32(20);
    requireInside(stringsOffset, stringsLength, imageLength_);
    if (!image_.stringTableEnd) image_.stringTableEnd = stringsOffset + stringsLength;
  }

  void readUUID(const ImageReader& command) {
    const std::string_view uuid = command.bytes(8, 16);
    if (!image_.uuid) image_.uuid = std::string(uuid);
  }

  void readSignature(const ImageReader& command, std::uint64_t offset, std::uint64_t length) {
    // Two readers could disagree on which of two counts.
    require(length == 16 && !image_.signature);
    const MachOSignatureCommand signature{offset, command.u32(8), command.u32(12)};
    // Everything before the signature is hashed; that has to include the commands.
    require(signature.dataOffset >= image_.commandsEnd);
    requireInside(signature.dataOffset, signature.dataLength, imageLength_);
    image_.signature = signature;
  }

  /// The first build version counts, and before all older commands.
  void readBuildVersion(const ImageReader& command) {
    const MachOVersion version{command.u32(8), command.u32(12), command.u32(16)};
    if (!hasBuildVersion_) image_.version = version;
    hasBuildVersion_ = true;
  }

  void readMinimumVersion(std::uint32_t kind, const ImageReader& command) {
    struct Platform {
      std::uint32_t command;
      std::uint32_t number;
    };
    static constexpr auto kPlatforms = std::to_array<Platform>(
        {{kMinimumVersionMacOS, 1}, {kMinimumVersionIOS, 2}, {kMinimumVersionTVOS, 3}, {kMinimumVersionWatchOS, 4}});
    const auto* found = std::ranges::find(kPlatforms, kind, &Platform::command);
    if (found == kPlatforms.end()) return;
    const MachOVersion version{found->number, command.u32(8), command.u32(12)};
    if (!image_.version) image_.version = version;
  }

  MachOImage& image_;
  std::uint64_t imageLength_;
  bool hasBuildVersion_ = false;
};

void readCommands(const ImageReader& reader, std::uint64_t imageLength, MachOImage& image) {
  CommandReading reading(image, imageLength);
  std::uint64_t offset = image.commandsOffset;
  for (std::uint32_t i = 0; i < image.commandCount; ++i) {
    requireInside(offset, 8, image.commandsEnd);
    const std::uint64_t length = reader.u32(offset + 4);
    require(length >= 8);
    requireInside(offset, length, image.commandsEnd);
    reading.read(reader.u32(offset), reader.part(offset, length), offset, length);
    offset += length;
  }
  // A command that is appended has to stand behind the last one and at the end of all.
  require(offset == image.commandsEnd);
}

}  // namespace

bool isSignableMachOFileType(std::uint32_t fileType) noexcept {
  switch (static_cast<MachOFileType>(fileType)) {
    case MachOFileType::executable:
    case MachOFileType::preloadedExecutable:
    case MachOFileType::dynamicLibrary:
    case MachOFileType::dynamicLinker:
    case MachOFileType::bundle:
    case MachOFileType::kernelExtension:
      return true;
  }
  return false;
}

bool MachOImage::isExecutable() const noexcept {
  return static_cast<MachOFileType>(fileType) == MachOFileType::executable;
}

const MachOSegment* MachOImage::findSegment(std::string_view name) const noexcept {
  const auto found = std::ranges::find(segments, name, &MachOSegment::name);
  return found == segments.end() ? nullptr : &*found;
}

const MachOSection* MachOImage::findSection(std::string_view segment, std::string_view section) const noexcept {
  for (const MachOSegment& candidate : segments) {
    if (candidate.name != segment) continue;
    const auto found = std::ranges::find(candidate.sections, section, &MachOSection::name);
    if (found != candidate.sections.end()) return &*found;
  }
  return nullptr;
}

MachOImage parseMachOImage(std::string_view header, std::uint64_t imageLength) {
  const Format format = requireFormat(header);
  const ImageReader reader(header, format.isBigEndian);
  MachOImage image;
  image.cpuType = reader.u32(4);
  image.cpuSubtype = reader.u32(8) & ~kCapabilityBits;
  image.fileType = reader.u32(12);
  image.is64Bit = format.is64Bit;
  image.isBigEndian = format.isBigEndian;
  image.commandCount = reader.u32(16);
  image.commandsOffset = format.headerSize();
  image.commandsEnd = machOHeaderLength(header, imageLength);
  require(image.commandsEnd <= header.size());
  readCommands(reader, imageLength, image);
  return image;
}

std::uint64_t machOHeaderLength(std::string_view start, std::uint64_t imageLength) {
  const Format format = requireFormat(start);
  const std::uint64_t length = format.headerSize() + ImageReader(start, format.isBigEndian).u32(20);
  require(start.size() >= format.headerSize() && length <= imageLength && length <= kHeaderLimit);
  return length;
}

std::optional<std::uint32_t> machOFileType(std::string_view start) noexcept {
  const auto format = formatOf(start);
  if (!format || start.size() < 16) return std::nullopt;
  return ImageReader(start, format->isBigEndian).u32(12);
}

std::string architectureName(std::uint32_t cpuType, std::uint32_t cpuSubtype) {
  struct Architecture {
    std::uint32_t cpuType;
    std::uint32_t cpuSubtype;
    std::string_view name;
  };
  static constexpr auto kArchitectures = std::to_array<Architecture>({
      {0x00000007, 3, "i386"},
      {0x01000007, 3, "x86_64"},
      {0x01000007, 8, "x86_64h"},
      {0x0000000C, 6, "armv6"},
      {0x0000000C, 9, "armv7"},
      {0x0000000C, 11, "armv7s"},
      {0x0000000C, 12, "armv7k"},
      {0x0100000C, 0, "arm64"},
      {0x0100000C, 1, "arm64v8"},
      {0x0100000C, 2, "arm64e"},
      {0x0200000C, 1, "arm64_32"},
      {0x00000012, 0, "ppc"},
      {0x00000012, 9, "ppc750"},
      {0x00000012, 10, "ppc7400"},
      {0x00000012, 100, "ppc970"},
      {0x01000012, 0, "ppc64"},
  });
  for (const Architecture& known : kArchitectures) {
    if (known.cpuType == cpuType && known.cpuSubtype == cpuSubtype) return std::string(known.name);
  }
  return "(" + std::to_string(cpuType) + ":" + std::to_string(cpuSubtype) + ")";
}

}  // namespace quillon
