#include "CodeSignature/GenericFileCode.h"

#include <sys/xattr.h>

#include <cerrno>

#include "CodeSignature/CodeSignatureError.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

/// The kernel has no longer attributes (XATTR_SIZE_MAX in linux/limits.h).
constexpr std::size_t kAttributeLimit = 65536;

}  // namespace

std::optional<std::string> GenericFileCode::signaturePart(CodeSlot slot) const {
  const auto name = codeSlotFileName(slot);
  // Neither an Info.plist nor a resource seal belongs to a single file.
  if (!name || slot == CodeSlot::resources) return std::nullopt;
  std::string part(kAttributeLimit, '\0');
  const std::string attribute = "user.com.apple.cs." + std::string(*name);
  const ssize_t length = fgetxattr(file_.get(), attribute.c_str(), part.data(), part.size());
  if (length < 0) {
    if (errno == ENODATA || errno == EOPNOTSUPP) return std::nullopt;
    throw QuillonSystemError::posix(errno, "read the attribute", attribute);
  }
  part.resize(static_cast<std::size_t>(length));
  return part;
}

std::uint64_t GenericFileCode::codeLength() const {
  return fileLength(file_);
}

std::size_t GenericFileCode::readCode(std::uint64_t offset, std::span<char> block) const {
  return readFileAt(file_, offset, block);
}

}  // namespace quillon
