#include "CodeSignature/BundleLayout.h"

#include <cerrno>
#include <optional>
#include <string_view>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/FolderReader.h"
#include "CodeSignature/MachOFile.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {
namespace {

constexpr std::size_t kInformationLimit = 16 << 20;
constexpr std::string_view kInformationName = "Info.plist";
constexpr std::string_view kExecutableFolder = "MacOS";

[[noreturn]] void fail(CodeSignatureErrorCode code) {
  throw CodeSignatureError(code);
}

/// Opens a file that must be regular; absent when it does not exist.
std::optional<FileDescriptor> openMainFile(int folder, const std::string& name) {
  try {
    return openRegularFile(folder, name);
  } catch (const QuillonSystemError& error) {
    if (error.isPOSIX(ENOENT) || error.isPOSIX(ENOTDIR)) return std::nullopt;
    if (error.isPOSIX(ELOOP) || error.isPOSIX(EISDIR) || error.isPOSIX(ENXIO)) {
      fail(CodeSignatureErrorCode::regularFileRequired);
    }
    throw;
  }
}

FileDescriptor openSupport(const FileDescriptor& bundle) {
  try {
    return openFolder(bundle.get(), "Contents");
  } catch (const QuillonSystemError& error) {
    if (error.isPOSIX(EACCES)) throw;
  }
  // Frameworks keep their parts by version, flat bundles directly in their folder.
  for (const FolderEntry& entry : readFolder(bundle)) {
    const bool isOtherLayout = entry.name == "Versions" || entry.name == kInformationName || entry.name == "Resources";
    if (isOtherLayout) fail(CodeSignatureErrorCode::signatureUnsupported);
  }
  fail(CodeSignatureErrorCode::badBundleFormat);
}

void readInformation(BundleLayout& layout) {
  const auto file = openMainFile(layout.support.get(), std::string(kInformationName));
  if (!file) return;
  layout.hasInformation = true;
  try {
    layout.informationBytes = readWholeFile(*file, kInformationLimit);
  } catch (const QuillonSystemError& error) {
    if (error.isPOSIX(EFBIG)) fail(CodeSignatureErrorCode::badPropertyList);
    throw;
  }
  try {
    QuillonPropertyListValue list = readPropertyList(layout.informationBytes);
    layout.isInformationMalformed = list.getIf<QuillonPropertyListValue::Dictionary>() == nullptr;
    if (!layout.isInformationMalformed) layout.information = std::move(list);
  } catch (const QuillonPropertyListError&) {
    // The signature has its say first: whoever changed the file broke its seal.
    layout.isInformationMalformed = true;
  }
}

bool isFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
         name.find('\0') == std::string_view::npos;
}

void findMainExecutable(BundleLayout& layout) {
  const std::string declared = layout.informationText("CFBundleExecutable");
  const std::string name = declared.empty() ? layout.baseName() : declared;
  if (!isFileName(name)) fail(CodeSignatureErrorCode::noMainExecutable);
  std::optional<FileDescriptor> file;
  try {
    const FileDescriptor folder = openFolder(layout.support.get(), std::string(kExecutableFolder));
    file = openMainFile(folder.get(), name);
  } catch (const QuillonSystemError& error) {
    if (error.isPOSIX(ELOOP)) fail(CodeSignatureErrorCode::regularFileRequired);
    if (!error.isPOSIX(ENOENT) && !error.isPOSIX(ENOTDIR)) throw;
  }
  if (file) {
    layout.mainExecutable = std::string(kExecutableFolder) + "/" + name;
    layout.mainExecutableFile = std::move(*file);
    return;
  }
  if (!declared.empty() || !layout.hasInformation) fail(CodeSignatureErrorCode::noMainExecutable);
  layout.mainExecutable = kInformationName;
  layout.mainExecutableFile = openRegularFile(layout.support.get(), layout.mainExecutable);
}

}  // namespace

bool BundleLayout::isApplication() const {
  return informationText("CFBundlePackageType") == "APPL";
}

std::string BundleLayout::baseName() const {
  return std::string(QuillonURL::fileURL(path).nameWithoutExtension());
}

std::string BundleLayout::informationText(std::string_view key) const {
  const QuillonPropertyListValue* value = information.find(key);
  const auto* text = value == nullptr ? nullptr : value->getIf<std::string>();
  return text == nullptr ? std::string() : *text;
}

BundleLayout openBundle(FileDescriptor bundle, std::string path) {
  BundleLayout layout;
  layout.path = std::move(path);
  layout.bundle = std::move(bundle);
  layout.support = openSupport(layout.bundle);
  readInformation(layout);
  findMainExecutable(layout);
  return layout;
}

BundleLayout openNestedBundle(const FileDescriptor& support, const std::string& path, const std::string& absolutePath) {
  try {
    return openBundle(openFolderBeneath(support.get(), path), absolutePath);
  } catch (const QuillonSystemError& error) {
    if (!error.isPOSIX(ENOTDIR)) throw CodeSignatureError(CodeSignatureErrorCode::notReadable, {error.description()});
  }
  // A single file would keep its signature in extended attributes.
  const std::size_t slash = path.rfind('/');
  const FileDescriptor folder =
      openFolderBeneath(support.get(), slash == std::string::npos ? std::string() : path.substr(0, slash));
  const FileDescriptor file = openRegularFile(folder.get(), path.substr(slash + 1));
  fail(isMachOFile(file) ? CodeSignatureErrorCode::signatureUnsupported : CodeSignatureErrorCode::unsignedCode);
}

}  // namespace quillon
