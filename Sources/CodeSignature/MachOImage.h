#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// File types of an object file (mach-o/loader.h) that are code to be signed.
enum class MachOFileType : std::uint32_t {
  executable = 2,
  preloadedExecutable = 5,
  dynamicLibrary = 6,
  dynamicLinker = 7,
  bundle = 8,
  kernelExtension = 11,
};

/// Whether a header's file type is one of `MachOFileType`; object files of the compiler, for example, are not.
[[nodiscard]] bool isSignableMachOFileType(std::uint32_t fileType) noexcept;

/// A section of a segment (mach-o/loader.h).
struct MachOSection {
  std::string name;
  /// Offset in the image; 0 for sections without bytes in the file (zero-fill).
  std::uint64_t fileOffset = 0;
  std::uint64_t length = 0;
};

/// A segment (mach-o/loader.h): a range of the file that is mapped into memory. Its range lies in the image.
struct MachOSegment {
  std::string name;
  /// Offset of its load command in the image.
  std::uint64_t commandOffset = 0;
  std::uint64_t address = 0;
  std::uint64_t memoryLength = 0;
  std::uint64_t fileOffset = 0;
  std::uint64_t fileLength = 0;
  std::vector<MachOSection> sections;

  [[nodiscard]] std::uint64_t fileEnd() const noexcept { return fileOffset + fileLength; }
};

/// Where the signature of an image is (LC_CODE_SIGNATURE): in the image, behind the load commands.
struct MachOSignatureCommand {
  std::uint64_t commandOffset = 0;
  std::uint64_t dataOffset = 0;  ///< in the image
  std::uint64_t dataLength = 0;

  [[nodiscard]] std::uint64_t dataEnd() const noexcept { return dataOffset + dataLength; }
};

/// The platform and versions that an image is built for (LC_BUILD_VERSION, LC_VERSION_MIN_*), packed as
/// major << 16 | minor << 8 | patch.
struct MachOVersion {
  std::uint32_t platform = 0;
  std::uint32_t minimum = 0;
  std::uint32_t sdk = 0;
};

/// Header and load commands of one image, as far as signatures need them. All offsets count from the image's first
/// byte.
struct MachOImage {
  std::uint32_t cpuType = 0;
  std::uint32_t cpuSubtype = 0;  ///< without the capability bits
  std::uint32_t fileType = 0;
  bool is64Bit = false;
  bool isBigEndian = false;
  std::uint32_t commandCount = 0;
  /// First byte of the load commands, and the first behind them.
  std::uint64_t commandsOffset = 0;
  std::uint64_t commandsEnd = 0;
  std::vector<MachOSegment> segments;
  std::optional<MachOSignatureCommand> signature;
  /// End of the string table (LC_SYMTAB); absent without one.
  std::optional<std::uint64_t> stringTableEnd;
  std::optional<MachOVersion> version;
  /// 16 bytes of LC_UUID.
  std::optional<std::string> uuid;

  /// Whether it is a program's main executable (MH_EXECUTE).
  [[nodiscard]] bool isExecutable() const noexcept;
  [[nodiscard]] const MachOSegment* findSegment(std::string_view name) const noexcept;
  /// Of several with these names the first, as the platform.
  [[nodiscard]] const MachOSection* findSection(std::string_view segment, std::string_view section) const noexcept;
};

/// Reads the header and load commands from `header`, the first bytes of an image that is `imageLength` bytes long
/// (enough of them: use machOHeaderLength). Throws CodeSignatureError(badObjectFormat) for everything that does not fit
/// together: a command shorter than its fields or beyond the commands, two signature commands, a segment, section,
/// string table or signature beyond the image.
[[nodiscard]] MachOImage parseMachOImage(std::string_view header, std::uint64_t imageLength);

/// Bytes of header and load commands that an image beginning with `start` (32 bytes, or all of a shorter image) has.
/// Throws CodeSignatureError(badObjectFormat) when `start` is no Mach-O header, or they exceed `imageLength` or 16 MiB.
[[nodiscard]] std::uint64_t machOHeaderLength(std::string_view start, std::uint64_t imageLength);

/// The file type of an image that begins with `start` (16 bytes); absent when that is no Mach-O header.
[[nodiscard]] std::optional<std::uint32_t> machOFileType(std::string_view start) noexcept;

/// "arm64", "x86_64", "i386"…; "(cpu type:subtype)" in decimal for what has no name.
[[nodiscard]] std::string architectureName(std::uint32_t cpuType, std::uint32_t cpuSubtype);

}  // namespace quillon
