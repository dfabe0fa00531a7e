#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "CodeSignature/MachOImage.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// An image has no place for a signature; the description says why.
class MachOSpaceError : public QuillonError {
 public:
  using QuillonError::QuillonError;
};

/// Base-two logarithm of the pages in which the systems of a processor map memory (and, for universal files, at what
/// multiples an image must stand so that they can map it).
[[nodiscard]] std::uint32_t memoryPageSizeLog2(std::uint32_t cpuType) noexcept;

/// Where the signature of an image goes, and the header that says so. The signature stands at the end of the link-edit
/// segment, which is the end of the image, in place of one that is there already.
class MachOSignatureSpace {
 public:
  /// Length of a signature command. An image that has none needs as many unused bytes behind its load commands.
  static constexpr std::uint64_t kCommandLength = 16;

  /// `start` is the first `commandsEnd + kCommandLength` bytes of `image`, or all of a shorter one; `length` is the
  /// length of the whole image. Throws MachOSpaceError.
  MachOSignatureSpace(const MachOImage& image, std::string_view start, std::uint64_t length);

  /// Number of bytes of the image that stay; what follows up to `codeLimit` is zero.
  [[nodiscard]] std::uint64_t contentEnd() const noexcept { return contentEnd_; }
  /// First byte of the signature, a multiple of 16; everything before is hashed.
  [[nodiscard]] std::uint64_t codeLimit() const noexcept { return codeLimit_; }
  /// Bytes that a signature of `length` takes up, zeros behind it included.
  [[nodiscard]] static std::uint64_t extentOf(std::uint64_t length) noexcept;

  /// Header and load commands of the image with a signature extent of `extent` bytes. Throws MachOSpaceError when the
  /// format's numbers cannot hold its place, or the link-edit segment would grow into another one's memory.
  [[nodiscard]] std::string headerFor(std::uint64_t extent) const;

 private:
  const MachOImage& image_;
  const MachOSegment* linkEdit_ = nullptr;
  std::string header_;  // with a signature command
  std::uint64_t commandOffset_ = 0;
  std::uint64_t contentEnd_ = 0;
  std::uint64_t codeLimit_ = 0;
};

}  // namespace quillon
