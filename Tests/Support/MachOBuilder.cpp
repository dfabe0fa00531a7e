#include "Support/MachOBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace quillon::testing {
namespace {

constexpr std::size_t kPageSize = 4096;
constexpr std::size_t kMemoryPageSize = 0x4000;
constexpr std::uint64_t kLoadAddress = 0x1000000;
constexpr std::size_t kSignatureCommandSize = 16;
constexpr std::string_view kStrings("\0_main\0\0", 8);

constexpr std::uint32_t kPureInstructions = 0x80000400;
constexpr std::uint32_t kZeroFill = 0x1;

constexpr std::uint32_t kSegment32 = 0x1;
constexpr std::uint32_t kSymbolTable = 0x2;
constexpr std::uint32_t kSegment64 = 0x19;
constexpr std::uint32_t kUUID = 0x1B;
constexpr std::uint32_t kCodeSignature = 0x1D;
constexpr std::uint32_t kMinimumVersionMacOS = 0x24;
constexpr std::uint32_t kBuildVersion = 0x32;

constexpr std::uint32_t kVersion11 = 0x000B0000;
constexpr std::uint32_t kVersion14_2 = 0x000E0200;

std::size_t roundUp(std::size_t value, std::size_t unit) {
  return (value + unit - 1) / unit * unit;
}

std::string number(std::uint64_t value, std::size_t width, bool isBigEndian) {
  std::string bytes;
  for (std::size_t i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i));
  if (isBigEndian) std::ranges::reverse(bytes);
  return bytes;
}

struct Section {
  std::string_view name;
  std::size_t offset;
  std::size_t length;
  std::uint32_t flags;
};

struct Segment {
  std::string_view name;
  std::uint64_t address;
  std::uint64_t memoryLength;
  std::size_t offset;
  std::size_t length;
  std::vector<Section> sections;
};

/// Writes fields one after the other in an architecture's byte order and width.
class ImageWriter {
 public:
  explicit ImageWriter(const MachOArchitecture& architecture) : architecture_(architecture) {}

  ImageWriter& u32(std::uint64_t value) { return bytes(number(value, 4, architecture_.isBigEndian)); }
  ImageWriter& word(std::uint64_t value) {
    return bytes(number(value, architecture_.is64Bit ? 8 : 4, architecture_.isBigEndian));
  }
  ImageWriter& bytes(std::string_view value) {
    content_ += value;
    return *this;
  }
  ImageWriter& name(std::string_view value) { return bytes(value).bytes(std::string(16 - value.size(), '\0')); }
  ImageWriter& zerosTo(std::size_t offset) { return bytes(std::string(offset - content_.size(), '\0')); }
  void segment(const Segment& segment);

  [[nodiscard]] std::size_t size() const { return content_.size(); }
  [[nodiscard]] const std::string& content() const { return content_; }

 private:
  void section(const Section& section, const Segment& segment);

  MachOArchitecture architecture_;
  std::string content_;
};

void ImageWriter::segment(const Segment& segment) {
  const std::size_t commandSize =
      (architecture_.is64Bit ? 72 : 56) + segment.sections.size() * (architecture_.is64Bit ? 80 : 68);
  u32(architecture_.is64Bit ? kSegment64 : kSegment32).u32(commandSize).name(segment.name);
  word(segment.address).word(segment.memoryLength).word(segment.offset).word(segment.length);
  u32(5).u32(5).u32(segment.sections.size()).u32(0);
  for (const Section& part : segment.sections) section(part, segment);
}

void ImageWriter::section(const Section& section, const Segment& segment) {
  name(section.name).name(segment.name);
  word(segment.address + section.offset - segment.offset).word(section.length);
  u32(section.flags == kZeroFill ? 0 : section.offset).u32(2).u32(0).u32(0).u32(section.flags).u32(0).u32(0);
  if (architecture_.is64Bit) u32(0);
}

/// Bytes that differ from page to page.
std::string codeBytes(std::size_t length) {
  std::string code(length, '\0');
  for (std::size_t i = 0; i < length; ++i) code[i] = static_cast<char>(i * 7 + i / kPageSize * 13 + 1);
  return code;
}

std::uint32_t littleEndian(std::string_view bytes, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) value = (value << 8) | static_cast<unsigned char>(bytes.at(offset + i));
  return value;
}

/// Processor type and subtype of an image, as the universal header repeats them.
std::string architectureField(const std::string& image) {
  std::string field = image.substr(4, 8);
  if (image.starts_with("\xFE\xED")) return field;
  std::reverse(field.begin(), field.begin() + 4);
  std::reverse(field.begin() + 4, field.end());
  return field;
}

std::string universalFile(const std::vector<std::string>& images, std::uint32_t alignment, std::size_t count) {
  std::string header = number(0xCAFEBABE, 4, true) + number(count, 4, true);
  std::size_t offset = 8 + 20 * images.size();
  for (const std::string& image : images) {
    offset = roundUp(offset, std::size_t{1} << alignment);
    header += architectureField(image) + number(offset, 4, true) + number(image.size(), 4, true);
    header += number(alignment, 4, true);
    offset += image.size();
  }
  std::string file = header;
  for (const std::string& image : images) {
    file.resize(roundUp(file.size(), std::size_t{1} << alignment));
    file += image;
  }
  return file;
}

}  // namespace

/// Offsets in the image.
struct MachOBuilder::Layout {
  std::size_t headerSize = 0;
  std::size_t code = 0;
  std::size_t information = 0;
  std::size_t textEnd = 0;
  std::size_t strings = 0;
  std::size_t signature = 0;
  std::size_t end = 0;
};

MachOBuilder& MachOBuilder::withFileType(MachOFileType type) {
  fileType_ = type;
  return *this;
}

MachOBuilder& MachOBuilder::withPages(std::size_t count) {
  pages_ = count;
  return *this;
}

MachOBuilder& MachOBuilder::withInformation(std::string content) {
  information_ = std::move(content);
  return *this;
}

MachOBuilder& MachOBuilder::withVersionCommand(MachOVersionCommand command) {
  versionCommand_ = command;
  return *this;
}

MachOBuilder& MachOBuilder::withFreeHeaderSpace(std::size_t length) {
  freeHeaderSpace_ = length;
  return *this;
}

MachOBuilder& MachOBuilder::withoutUUID() {
  hasUUID_ = false;
  return *this;
}

MachOBuilder& MachOBuilder::withoutLinkEdit() {
  hasLinkEdit_ = false;
  return *this;
}

MachOBuilder& MachOBuilder::withSignature(std::string bytes) {
  if (freeHeaderSpace_ < kSignatureCommandSize) throw std::logic_error("no room for the signature command");
  signature_ = std::move(bytes);
  return *this;
}

std::string MachOBuilder::segmentCommands(const Layout& layout) const {
  ImageWriter out(architecture_);
  const std::size_t codeEnd = information_ ? layout.information : layout.textEnd;
  Segment text{"__TEXT", kLoadAddress, layout.textEnd, 0, layout.textEnd, {}};
  text.sections.push_back({"__text", layout.code, codeEnd - layout.code, kPureInstructions});
  if (information_) text.sections.push_back({"__info_plist", layout.information, information_->size(), 0});
  const std::uint64_t dataAddress = kLoadAddress + roundUp(layout.textEnd, kMemoryPageSize);
  const std::uint64_t linkEditAddress = dataAddress + kMemoryPageSize;
  const std::size_t linkEditLength = layout.end - layout.textEnd;
  if (fileType_ == MachOFileType::executable) out.segment({"__PAGEZERO", 0, kLoadAddress, 0, 0, {}});
  out.segment(text);
  out.segment({"__DATA", dataAddress, 256, layout.textEnd, 0, {{"__bss", layout.textEnd, 256, kZeroFill}}});
  if (hasLinkEdit_) {
    const std::size_t memoryLength = roundUp(linkEditLength, kMemoryPageSize);
    out.segment({"__LINKEDIT", linkEditAddress, memoryLength, layout.textEnd, linkEditLength, {}});
  }
  return out.content();
}

std::string MachOBuilder::otherCommands(const Layout& layout) const {
  ImageWriter out(architecture_);
  out.u32(kSymbolTable).u32(24).u32(layout.textEnd).u32(1).u32(layout.strings).u32(kStrings.size());
  if (hasUUID_) out.u32(kUUID).u32(24).bytes("0123456789ABCDEF");
  if (versionCommand_ == MachOVersionCommand::build) {
    out.u32(kBuildVersion).u32(24).u32(1).u32(kVersion11).u32(kVersion14_2).u32(0);
  } else if (versionCommand_ == MachOVersionCommand::minimum) {
    out.u32(kMinimumVersionMacOS).u32(16).u32(kVersion11).u32(kVersion14_2);
  }
  return out.content();
}

std::uint32_t MachOBuilder::commandCount() const {
  const unsigned segments = 2 + (fileType_ == MachOFileType::executable ? 1 : 0) + (hasLinkEdit_ ? 1 : 0);
  return segments + 1 + (hasUUID_ ? 1 : 0) + (versionCommand_ == MachOVersionCommand::none ? 0 : 1) +
         (signature_ ? 1 : 0);
}

MachOBuilder::Layout MachOBuilder::layOut() const {
  Layout layout;
  layout.headerSize = architecture_.is64Bit ? 32 : 28;
  // The commands are as long whatever offsets they hold.
  const std::size_t commandsSize = segmentCommands(layout).size() + otherCommands(layout).size();
  const std::size_t informationSize = information_ ? information_->size() : 0;
  layout.code = layout.headerSize + commandsSize + freeHeaderSpace_;
  layout.textEnd = std::max(pages_ * kPageSize, roundUp(layout.code + 16 + informationSize, kPageSize));
  layout.information = layout.textEnd - informationSize;
  layout.strings = layout.textEnd + (architecture_.is64Bit ? 16 : 12);
  const std::size_t stringsEnd = layout.strings + kStrings.size();
  layout.signature = roundUp(stringsEnd, 16);
  layout.end = signature_ ? layout.signature + signature_->size() : stringsEnd;
  return layout;
}

std::string MachOBuilder::build() const {
  const Layout layout = layOut();
  std::string commands = segmentCommands(layout) + otherCommands(layout);
  if (signature_) {
    ImageWriter command(architecture_);
    command.u32(kCodeSignature).u32(kSignatureCommandSize).u32(layout.signature).u32(signature_->size());
    commands += command.content();
  }
  ImageWriter out(architecture_);
  out.u32(architecture_.is64Bit ? 0xFEEDFACF : 0xFEEDFACE).u32(architecture_.cpuType).u32(architecture_.cpuSubtype);
  out.u32(static_cast<std::uint32_t>(fileType_)).u32(commandCount()).u32(commands.size()).u32(0x85);
  out.zerosTo(layout.headerSize).bytes(commands).zerosTo(layout.code);
  out.bytes(codeBytes((information_ ? layout.information : layout.textEnd) - layout.code));
  out.bytes(information_.value_or("")).zerosTo(layout.strings).bytes(kStrings);
  if (signature_) out.zerosTo(layout.signature).bytes(*signature_);
  return out.content();
}

std::size_t MachOBuilder::codeLimit() const {
  return layOut().signature;
}

std::string buildUniversalFile(const std::vector<std::string>& images, std::uint32_t alignment) {
  return universalFile(images, alignment, images.size());
}

std::string buildUniversalFileHidingLast(const std::vector<std::string>& images, std::uint32_t alignment) {
  return universalFile(images, alignment, images.size() - 1);
}

std::size_t machOCommandOffset(std::string_view image, std::uint32_t kind) {
  std::size_t offset = littleEndian(image, 0) == 0xFEEDFACF ? 32 : 28;
  for (std::uint32_t left = littleEndian(image, 16); left > 0; --left) {
    if (littleEndian(image, offset) == kind) return offset;
    offset += littleEndian(image, offset + 4);
  }
  ADD_FAILURE() << "the image has no load command " << kind;
  return 0;
}

void setMachOField(std::string& image, std::size_t offset, std::uint64_t value, std::size_t width) {
  image.replace(offset, width, number(value, width, false));
}

void setUniversalField(std::string& file, std::size_t offset, std::uint32_t value) {
  file.replace(offset, 4, number(value, 4, true));
}

}  // namespace quillon::testing
