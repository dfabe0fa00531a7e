#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/SpecialSlots.h"

namespace quillon {

inline constexpr std::uint32_t kCodeDirectoryAdHocFlag = 0x2;
inline constexpr std::uint32_t kCodeDirectoryExpiresFlag = 0x400;
/// Of code directories: the code runs in the hardened runtime (cs_blobs.h).
inline constexpr std::uint32_t kCodeDirectoryRuntimeFlag = 0x10000;

/// What a signature says about a piece of code: its name, its team, and the hashes of its pages and of the other parts
/// (cs_blobs.h).
struct CodeDirectory {
  std::uint32_t version = 0;
  std::uint32_t flags = 0;
  CodeHashType hashType = CodeHashType::sha256;
  std::uint8_t platform = 0;
  /// Base-two logarithm of the page size; 0 when the whole code is one page.
  std::uint8_t pageSizeLog2 = 0;
  std::uint64_t codeLimit = 0;
  std::uint64_t executableSegmentBase = 0;
  std::uint64_t executableSegmentLimit = 0;
  std::uint64_t executableSegmentFlags = 0;
  std::uint32_t runtimeVersion = 0;
  std::string identifier;
  /// Empty when the directory names no team.
  std::string team;
  /// Number of special slots that the directory has room for, filled or not.
  std::uint32_t specialSlotCount = 0;
  /// Hashes of the filled special slots.
  std::map<CodeSlot, std::string> specialHashes;
  /// The hashes of all pages one after the other, `codeHashSize(hashType)` bytes each.
  std::string pageHashes;
  /// The bytes that all this was read from.
  std::string blob;

  [[nodiscard]] std::size_t pageCount() const noexcept { return pageHashes.size() / codeHashSize(hashType); }
  [[nodiscard]] std::string_view pageHash(std::size_t page) const {
    return std::string_view(pageHashes).substr(page * codeHashSize(hashType), codeHashSize(hashType));
  }
  [[nodiscard]] bool isAdHoc() const noexcept { return (flags & kCodeDirectoryAdHocFlag) != 0; }
  /// Hash of the whole blob with the directory's own algorithm.
  [[nodiscard]] std::string fullHash() const { return fullCodeHash(hashType, blob); }
  /// The first 20 bytes of `fullHash`: the name of this signed code.
  [[nodiscard]] std::string identifyingHash() const { return fullHash().substr(0, kCodeDirectoryHashLength); }
};

/// Reads a code directory, all of `blob`. Throws CodeSignatureError: signatureUnsupported for a version or algorithm
/// that is unknown, signatureFailed for everything that does not fit together.
[[nodiscard]] CodeDirectory parseCodeDirectory(std::string blob);

/// The blob of `directory`, whose own `blob` and `version` are not looked at: the version is the lowest that holds the
/// fields. Special slots are laid out up to the highest filled one.
[[nodiscard]] std::string buildCodeDirectory(const CodeDirectory& directory);

}  // namespace quillon
