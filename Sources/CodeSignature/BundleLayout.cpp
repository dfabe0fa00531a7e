#include "CodeSignature/BundleLayout.h"

#include <array>
#include <cerrno>
#include <optional>
#include <span>
#include <string_view>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/FolderReader.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {
namespace {

constexpr std::string_view kInformationName = "Info.plist";
constexpr std::string_view kInformationInResources = "Resources/Info.plist";

[[noreturn]] void fail(CodeSignatureErrorCode code) {
  throw CodeSignatureError(code);
}

/// Whether something is not there, or is something else than was looked for.
bool isAbsence(const QuillonSystemError& error) {
  return error.isPOSIX(ENOENT) || error.isPOSIX(ENOTDIR);
}

/// Opens a file that must be regular, following no link; absent when it does not exist.
std::optional<FileDescriptor> openMainFile(const FileDescriptor& support, const std::string& path) {
  const std::size_t slash = path.rfind('/');
  try {
    const FileDescriptor folder =
        openFolderBeneath(support.get(), slash == std::string::npos ? std::string() : path.substr(0, slash));
    return openRegularFile(folder.get(), path.substr(slash + 1));
  } catch (const QuillonSystemError& error) {
    if (isAbsence(error)) return std::nullopt;
    if (error.isPOSIX(ELOOP) || error.isPOSIX(EISDIR) || error.isPOSIX(ENXIO)) {
      fail(CodeSignatureErrorCode::regularFileRequired);
    }
    throw;
  }
}

bool isLink(const FileDescriptor& folder, const std::string& name) {
  try {
    (void)readLink(folder.get(), name);
    return true;
  } catch (const QuillonSystemError&) {
    return false;
  }
}

/// Opens a folder by whose presence a form of bundles is recognised. A link of that name is refused: whoever follows it
/// would use another bundle than the one that is verified here.
std::optional<FileDescriptor> openFolderIfPresent(const FileDescriptor& folder, const std::string& name) {
  try {
    return openFolder(folder.get(), name);
  } catch (const QuillonSystemError& error) {
    if (!isAbsence(error)) throw;
    if (isLink(folder, name)) fail(CodeSignatureErrorCode::badBundleFormat);
    return std::nullopt;
  }
}

bool isFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
         name.find('\0') == std::string_view::npos;
}

/// Name of the version that counts: what the link `Current` says, or a folder of that name.
std::string currentVersion(const FileDescriptor& versions) {
  try {
    std::string name = readLink(versions.get(), "Current");
    if (!isFileName(name)) fail(CodeSignatureErrorCode::badBundleFormat);
    return name;
  } catch (const QuillonSystemError& error) {
    if (error.isPOSIX(EINVAL)) return "Current";  // no link
    throw;
  }
}

bool openFramework(BundleLayout& layout) {
  const auto versions = openFolderIfPresent(layout.bundle, "Versions");
  if (!versions) return false;
  try {
    const std::string version = currentVersion(*versions);
    layout.support = openFolder(versions->get(), version);
    layout.supportName = "Versions/" + version;
  } catch (const QuillonSystemError& error) {
    if (isAbsence(error)) return false;
    throw;
  }
  layout.form = BundleForm::framework;
  return true;
}

void openSupport(BundleLayout& layout) {
  if (auto contents = openFolderIfPresent(layout.bundle, "Contents")) {
    layout.support = std::move(*contents);
    layout.supportName = "Contents";
    return;
  }
  if (openFramework(layout)) return;
  layout.form = BundleForm::flat;
  layout.support = openFolder(layout.bundle.get(), ".");
}

void parseInformation(BundleLayout& layout) {
  try {
    QuillonPropertyListValue list = readPropertyList(layout.informationBytes);
    layout.isInformationMalformed = list.getIf<QuillonPropertyListValue::Dictionary>() == nullptr;
    if (!layout.isInformationMalformed) layout.information = std::move(list);
  } catch (const QuillonPropertyListError&) {
    // The signature has its say first: whoever changed the file broke its seal.
    layout.isInformationMalformed = true;
  }
}

std::span<const std::string_view> informationPaths(BundleForm form) {
  static constexpr auto kPaths = std::to_array<std::string_view>({kInformationInResources, kInformationName});
  switch (form) {
    case BundleForm::contents:
      return std::span(kPaths).last(1);
    case BundleForm::framework:
      return std::span(kPaths).first(1);
    case BundleForm::flat:
      break;
  }
  return kPaths;
}

void readInformation(BundleLayout& layout) {
  for (const std::string_view path : informationPaths(layout.form)) {
    layout.informationPath = path;
    const auto file = openMainFile(layout.support, layout.informationPath);
    if (!file) continue;
    layout.hasInformation = true;
    try {
      layout.informationBytes = readWholeFile(*file, kInformationLengthLimit);
    } catch (const QuillonSystemError& error) {
      if (error.isPOSIX(EFBIG)) fail(CodeSignatureErrorCode::badPropertyList);
      throw;
    }
    parseInformation(layout);
    return;
  }
}

void findMainExecutable(BundleLayout& layout) {
  const std::string declared = layout.informationText("CFBundleExecutable");
  const std::string name = declared.empty() ? layout.baseName() : declared;
  if (!isFileName(name)) fail(CodeSignatureErrorCode::noMainExecutable);
  layout.mainExecutable = layout.form == BundleForm::contents ? "MacOS/" + name : name;
  std::optional<FileDescriptor> file = openMainFile(layout.support, layout.mainExecutable);
  if (!file && !layout.hasInformation && layout.form == BundleForm::flat) fail(CodeSignatureErrorCode::badBundleFormat);
  if (!file && (!declared.empty() || !layout.hasInformation)) fail(CodeSignatureErrorCode::noMainExecutable);
  if (!file) {
    layout.mainExecutable = layout.informationPath;
    file = openMainFile(layout.support, layout.mainExecutable);
  }
  if (!file) fail(CodeSignatureErrorCode::noMainExecutable);
  layout.mainExecutableFile = std::move(*file);
}

}  // namespace

bool BundleLayout::hasResourcesFolder() const {
  return form != BundleForm::flat || informationPath == kInformationInResources;
}

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
  openSupport(layout);
  readInformation(layout);
  findMainExecutable(layout);
  return layout;
}

}  // namespace quillon
