#include "CodeSignature/CodeObject.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/GenericBundleCode.h"
#include "CodeSignature/GenericFileCode.h"
#include "CodeSignature/MachOCode.h"
#include "CodeSignature/SignatureFolder.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

BundleLayout openFolderBundle(const fs::path& path) {
  return openBundle(openFolder(AT_FDCWD, path.string()), path.string());
}

/// The folder that would be the bundle if `file` were its main executable.
fs::path bundleFolderOf(const fs::path& file) {
  fs::path folder = file.parent_path();
  if (folder.filename() == "MacOS" && folder.parent_path().filename() == "Contents") {
    return folder.parent_path().parent_path();
  }
  if (folder.parent_path().filename() == "Versions") return folder.parent_path().parent_path();
  return folder;
}

std::optional<BundleLayout> bundleAround(const fs::path& file) {
  const fs::path folder = bundleFolderOf(file);
  // Any folder with the right name could pass for a flat bundle; only one with an Info.plist is meant as one.
  try {
    BundleLayout layout = openFolderBundle(folder);
    const bool isMain = layout.hasInformation && fs::path(layout.supportPath()) / layout.mainExecutable == file;
    if (isMain) return layout;
  } catch (const CodeSignatureError&) {
    // The file stands for itself.
  } catch (const QuillonSystemError&) {
    // As above.
  }
  return std::nullopt;
}

bool hasSignatureFiles(const BundleLayout& bundle) {
  return readSignatureFile(bundle, CodeSlot::codeDirectory).has_value();
}

}  // namespace

CodeObject::CodeObject(BundleLayout bundle)
    : path_(bundle.path), bundle_(std::make_unique<BundleLayout>(std::move(bundle))) {
  addArchitectures();
}

CodeObject::CodeObject(FileDescriptor file, std::string path)
    : path_(std::move(path)), file_(std::make_unique<FileDescriptor>(std::move(file))) {
  addArchitectures();
}

CodeObject CodeObject::openAt(const QuillonURL& item) {
  std::error_code error;
  const fs::path path = fs::canonical(item.path(), error);
  if (error) throw QuillonSystemError::posix(error.value(), "open", item.path());
  const fs::file_status status = fs::status(path, error);
  if (fs::is_directory(status)) return CodeObject(openFolderBundle(path));
  if (!fs::is_regular_file(status)) throw CodeSignatureError(CodeSignatureErrorCode::badObjectFormat);
  if (std::optional<BundleLayout> layout = bundleAround(path)) return CodeObject(std::move(*layout));
  return {openRegularFile(AT_FDCWD, path.string()), path.string()};
}

CodeObject CodeObject::openNested(const FileDescriptor& support, const std::string& path,
                                  const std::string& absolutePath) {
  try {
    return CodeObject(openBundle(openFolderBeneath(support.get(), path), absolutePath));
  } catch (const QuillonSystemError& error) {
    if (!error.isPOSIX(ENOTDIR)) throw CodeSignatureError(CodeSignatureErrorCode::notReadable, {error.description()});
  }
  try {
    const std::size_t slash = path.rfind('/');
    const FileDescriptor folder =
        openFolderBeneath(support.get(), slash == std::string::npos ? std::string() : path.substr(0, slash));
    return {openRegularFile(folder.get(), path.substr(slash + 1)), absolutePath};
  } catch (const QuillonSystemError& error) {
    throw CodeSignatureError(CodeSignatureErrorCode::notReadable, {error.description()});
  }
}

void CodeObject::addArchitectures() {
  const bool isInformationMain = bundle_ && bundle_->isInformationMain();
  if (!isInformationMain && isMachOFile(mainFile())) objectFile_ = readMachOFile(mainFile());
  // Old kernel extensions keep the signature of an object file in files beside it.
  const bool hasEmbeddedSignature =
      objectFile_ && std::ranges::any_of(objectFile_->slices,
                                         [](const MachOSlice& slice) { return slice.image.signature.has_value(); });
  if (bundle_ && (!objectFile_ || (!hasEmbeddedSignature && hasSignatureFiles(*bundle_)))) {
    architectures_.push_back(std::make_unique<GenericBundleCode>(*bundle_));
  } else if (!objectFile_) {
    architectures_.push_back(std::make_unique<GenericFileCode>(*file_));
  } else {
    for (const MachOSlice& slice : objectFile_->slices) {
      architectures_.push_back(std::make_unique<MachOCode>(mainFile(), slice, bundle_.get()));
    }
    const auto native = architectures_.begin() + static_cast<std::ptrdiff_t>(objectFile_->nativeSlice());
    std::rotate(architectures_.begin(), native, native + 1);
  }
}

const FileDescriptor& CodeObject::mainFile() const noexcept {
  return bundle_ ? bundle_->mainExecutableFile : *file_;
}

std::string CodeObject::mainPath() const {
  return bundle_ ? bundle_->supportPath() + "/" + bundle_->mainExecutable : path_;
}

std::string CodeObject::formatName() const {
  std::string code = objectFile_ ? objectFile_->formatName() : "generic";
  if (!bundle_) return code;
  const std::string kind = bundle_->isApplication() ? "app bundle" : "bundle";
  return bundle_->isInformationMain() ? kind : kind + " with " + code;
}

}  // namespace quillon
