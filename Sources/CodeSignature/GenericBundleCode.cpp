#include "CodeSignature/GenericBundleCode.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/FileHashing.h"
#include "CodeSignature/MachOFile.h"

namespace quillon {
namespace {

/// Seals of very large bundles have tens of millions of bytes; everything else is small.
constexpr std::size_t kSealLimit = 256 << 20;
constexpr std::size_t kPartLimit = 64 << 20;

std::optional<std::string_view> fileNameOf(CodeSlot slot) {
  const auto number = static_cast<std::uint32_t>(slot);
  const auto alternate = static_cast<std::uint32_t>(CodeSlot::alternateCodeDirectory);
  if (number >= alternate && number < alternate + kAlternateCodeDirectoryLimit) {
    return kAlternateCodeDirectoryFiles[number - alternate];
  }
  const auto* found = std::ranges::find(kCodeSlotFiles, slot, &CodeSlotFile::slot);
  if (found == kCodeSlotFiles.end()) return std::nullopt;
  return found->name;
}

std::string readPart(const FileDescriptor& support, std::string_view name, std::size_t limit) {
  const FileDescriptor folder = openFolder(support.get(), "_CodeSignature");
  return readWholeFile(openRegularFile(folder.get(), std::string(name)), limit);
}

}  // namespace

GenericBundleCode::GenericBundleCode(const BundleLayout& layout) : layout_(layout) {
  if (isMachOFile(layout.mainExecutableFile)) throw CodeSignatureError(CodeSignatureErrorCode::signatureUnsupported);
}

std::optional<std::string> GenericBundleCode::signaturePart(CodeSlot slot) const {
  if (slot == CodeSlot::infoPropertyList) {
    return layout_.hasInformation ? std::optional(layout_.informationBytes) : std::nullopt;
  }
  const auto name = fileNameOf(slot);
  if (!name) return std::nullopt;
  try {
    return readPart(layout_.support, *name, slot == CodeSlot::resources ? kSealLimit : kPartLimit);
  } catch (const QuillonSystemError& error) {
    if (error.isPOSIX(ENOENT)) return std::nullopt;
    if (error.isPOSIX(EACCES)) throw CodeSignatureError(CodeSignatureErrorCode::notReadable);
    // A link would lead out of the bundle, a special file could make the reader wait.
    throw CodeSignatureError(CodeSignatureErrorCode::signatureFailed);
  }
}

std::uint64_t GenericBundleCode::codeLength() const {
  struct stat status {};
  if (fstat(layout_.mainExecutableFile.get(), &status) != 0) {
    throw QuillonSystemError::posix(errno, "examine", layout_.mainExecutable);
  }
  return static_cast<std::uint64_t>(status.st_size);
}

void GenericBundleCode::hashCode(std::uint64_t offset, std::uint64_t length, CodeHasher& hasher) const {
  hashFileRange(layout_.mainExecutableFile, offset, length, hasher);
}

std::string GenericBundleCode::formatName() const {
  return "generic";
}

}  // namespace quillon
