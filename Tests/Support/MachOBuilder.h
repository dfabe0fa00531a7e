#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CodeSignature/MachOImage.h"

namespace quillon::testing {

/// A processor as the headers of its object files describe it.
struct MachOArchitecture {
  std::uint32_t cpuType;
  std::uint32_t cpuSubtype;
  bool is64Bit;
  bool isBigEndian;
};

inline constexpr MachOArchitecture kARM64{0x0100000C, 0, true, false};
inline constexpr MachOArchitecture kX86_64{0x01000007, 3, true, false};
inline constexpr MachOArchitecture kI386{0x00000007, 3, false, false};
inline constexpr MachOArchitecture kPowerPC{0x00000012, 0, false, true};

/// The command that tells which system versions an image is built for.
enum class MachOVersionCommand { none, build, minimum };

/// Makes small and well-formed Mach-O images, laid out as linkers do: `__TEXT` with the header and the code,
/// a `__DATA` segment without bytes in the file, `__LINKEDIT` with a symbol table, a UUID and a version command.
class MachOBuilder {
 public:
  explicit MachOBuilder(const MachOArchitecture& architecture = kARM64) : architecture_(architecture) {}

  MachOBuilder& withFileType(MachOFileType type);
  /// Pages of 4096 bytes that `__TEXT` has at least; the code fills them.
  MachOBuilder& withPages(std::size_t count);
  /// Adds the section `__TEXT,__info_plist`.
  MachOBuilder& withInformation(std::string content);
  /// macOS 11.0, built with the SDK of 14.2.
  MachOBuilder& withVersionCommand(MachOVersionCommand command);
  /// Bytes between the load commands and the first section before a signature is there; 16, one more command, unless
  /// said otherwise.
  MachOBuilder& withFreeHeaderSpace(std::size_t length);
  MachOBuilder& withoutUUID();
  /// The symbol table then follows `__TEXT` and belongs to no segment.
  MachOBuilder& withoutLinkEdit();
  /// Adds LC_CODE_SIGNATURE for `bytes`, which stand at the 16-aligned end of the other link-edit data. Needs 16 bytes
  /// of free header space; throws std::logic_error without them.
  MachOBuilder& withSignature(std::string bytes);

  [[nodiscard]] std::string build() const;
  /// Number of bytes before a signature: what a code directory covers, whether or not there is one yet.
  [[nodiscard]] std::size_t codeLimit() const;

 private:
  struct Layout;
  [[nodiscard]] Layout layOut() const;
  [[nodiscard]] std::string segmentCommands(const Layout& layout) const;
  [[nodiscard]] std::string otherCommands(const Layout& layout) const;
  [[nodiscard]] std::uint32_t commandCount() const;

  MachOArchitecture architecture_;
  MachOFileType fileType_ = MachOFileType::executable;
  std::size_t pages_ = 1;
  std::optional<std::string> information_;
  MachOVersionCommand versionCommand_ = MachOVersionCommand::build;
  std::size_t freeHeaderSpace_ = 16;
  bool hasUUID_ = true;
  bool hasLinkEdit_ = true;
  std::optional<std::string> signature_;
};

/// A universal file of `images`, each at a multiple of 2^`alignment` bytes.
[[nodiscard]] std::string buildUniversalFile(const std::vector<std::string>& images, std::uint32_t alignment = 12);
/// The same with the last image's entry written but not counted.
[[nodiscard]] std::string buildUniversalFileHidingLast(const std::vector<std::string>& images,
                                                       std::uint32_t alignment = 12);

/// Offset of the first load command of this kind (LC_…) in a little-endian image; fails the test without one.
[[nodiscard]] std::size_t machOCommandOffset(std::string_view image, std::uint32_t kind);
/// Overwrites a number of 4 or 8 bytes in a little-endian image.
void setMachOField(std::string& image, std::size_t offset, std::uint64_t value, std::size_t width = 4);
/// Overwrites a number of 4 bytes in a universal header.
void setUniversalField(std::string& file, std::size_t offset, std::uint32_t value);

}  // namespace quillon::testing
