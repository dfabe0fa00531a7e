#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CodeSignature/FileOpening.h"
#include "CodeSignature/MachOImage.h"

namespace quillon {

/// One architecture of a Mach-O file.
struct MachOSlice {
  std::uint64_t offset = 0;  ///< in the file
  std::uint64_t length = 0;
  /// Base-two logarithm of its alignment in a universal file; 0 in a thin one.
  std::uint32_t alignment = 0;
  MachOImage image;

  [[nodiscard]] std::uint64_t end() const noexcept { return offset + length; }
  [[nodiscard]] std::string architecture() const { return architectureName(image.cpuType, image.cpuSubtype); }
};

/// The architectures of an object file, in the order of the universal header. A thin file has one, which is all of the
/// file.
struct MachOFile {
  bool isUniversal = false;
  std::uint64_t length = 0;
  std::vector<MachOSlice> slices;

  /// "Mach-O thin (arm64)", "Mach-O universal (x86_64 arm64)".
  [[nodiscard]] std::string formatName() const;
  /// The slice that this machine would run: its own architecture's, else the first.
  [[nodiscard]] std::size_t nativeSlice() const noexcept;
};

/// Whether the file begins like code that can be signed: a thin or universal header (not the 64-bit universal one,
/// which the platform does not sign) with a file type that is executable code. Reads at most the first slice's header.
/// Throws QuillonSystemError.
[[nodiscard]] bool isMachOFile(const FileDescriptor& file);

/// Reads all headers. Throws CodeSignatureError(badObjectFormat) for hostile or nonsensical ones: no slice, more than
/// 100, one beyond the file, overlapping ones, two of one architecture, an entry that names another architecture than
/// the image, an image that is no code to be signed; and QuillonSystemError.
[[nodiscard]] MachOFile readMachOFile(const FileDescriptor& file);

/// What strict verification asks of the layout: nothing behind the last byte of an image or of the file, only small
/// zero-filled gaps between slices, the signature at the very end of the link-edit segment and no other segment beyond
/// it. Throws CodeSignatureError(mainExecutableInvalid) and QuillonSystemError.
void checkMachOLayout(const MachOFile& object, const FileDescriptor& file);

}  // namespace quillon
