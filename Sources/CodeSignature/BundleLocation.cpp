#include "CodeSignature/BundleLocation.h"

#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/MachOFile.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

BundleLayout openFolderBundle(const fs::path& path) {
  return openBundle(openFolder(AT_FDCWD, path.string()), path.string());
}

/// The bundle of `X/Contents/MacOS/NAME`, if NAME is its main executable.
std::optional<BundleLayout> bundleAround(const fs::path& file) {
  const fs::path support = file.parent_path().parent_path();
  if (file.parent_path().filename() != "MacOS" || support.filename() != "Contents") return std::nullopt;
  BundleLayout layout = openFolderBundle(support.parent_path());
  if (support / layout.mainExecutable != file) return std::nullopt;
  return layout;
}

}  // namespace

BundleLayout openBundleAt(const QuillonURL& item) {
  std::error_code error;
  const fs::path path = fs::canonical(item.path(), error);
  if (error) throw QuillonSystemError::posix(error.value(), "open", item.path());
  const fs::file_status status = fs::status(path, error);
  if (fs::is_directory(status)) return openFolderBundle(path);
  if (!fs::is_regular_file(status)) throw CodeSignatureError(CodeSignatureErrorCode::badObjectFormat);
  if (std::optional<BundleLayout> layout = bundleAround(path)) return std::move(*layout);
  const FileDescriptor file = openRegularFile(AT_FDCWD, path.string());
  throw CodeSignatureError(isMachOFile(file) ? CodeSignatureErrorCode::signatureUnsupported
                                             : CodeSignatureErrorCode::unsignedCode);
}

}  // namespace quillon
