#include "CodeSignature/BundleLeftovers.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/FolderReader.h"

namespace quillon {
namespace {

constexpr std::string_view kVersions = "Versions";
constexpr std::string_view kCurrent = "Current";
constexpr std::string_view kFolderSettings = ".DS_Store";

[[noreturn]] void fail(CodeSignatureErrorCode code, const std::string& path) {
  throw CodeSignatureError(code, {"file added: " + path});
}

bool isPartOfSignature(std::string_view name, const LoadedSignature& signature) {
  if (name == codeSlotFileName(CodeSlot::signature)) return true;
  for (std::size_t i = 1; i < signature.directories.size(); ++i) {
    if (kAlternateCodeDirectoryFiles[i - 1] == name) return true;
  }
  const auto* file = std::ranges::find(kCodeSlotFiles, name, &CodeSlotFile::name);
  if (file == kCodeSlotFiles.end()) return false;
  return file->slot == CodeSlot::codeDirectory || signature.best().specialHashes.contains(file->slot);
}

bool isEmptyFile(const FileDescriptor& folder, const std::string& name) {
  struct stat status {};
  return fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && status.st_size == 0;
}

bool isDesktopFile(int folder, const FolderEntry& entry) {
  static constexpr auto kNames =
      std::to_array<std::string_view>({".LSOverride", kFolderSettings, "Icon\r", ".SoftwareDepot.tracking"});
  if (entry.kind != FolderEntryKind::file || std::ranges::find(kNames, entry.name) == kNames.end()) return false;
  struct stat status {};
  return fstatat(folder, entry.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
         (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) == 0;
}

bool isFolderSettings(const FolderEntry& entry) {
  return entry.kind == FolderEntryKind::file && entry.name == kFolderSettings;
}

/// Whether `path` at the top of a framework leads to the very file that the current version has, or nowhere.
bool leadsToCurrentVersion(const BundleLayout& layout, const std::string& path) {
  struct stat top {};
  struct stat current {};
  if (fstatat(layout.bundle.get(), path.c_str(), &top, 0) != 0) return true;
  return fstatat(layout.support.get(), path.c_str(), &current, 0) == 0 && top.st_dev == current.st_dev &&
         top.st_ino == current.st_ino;
}

/// `NAME -> Versions/VERSION/NAME`
bool isLinkIntoVersion(const BundleLayout& layout, const FolderEntry& entry) {
  if (entry.kind != FolderEntryKind::link) return false;
  const std::string text = readLink(layout.bundle.get(), entry.name);
  std::string_view rest = text;
  if (rest.starts_with("./")) rest.remove_prefix(2);
  const std::string suffix = "/" + entry.name;
  if (!rest.starts_with("Versions/") || !rest.ends_with(suffix)) return false;
  rest.remove_prefix(kVersions.size() + 1);
  if (rest.size() <= suffix.size()) return false;
  rest.remove_suffix(suffix.size());
  return rest.find('/') == std::string_view::npos && rest != ".." && rest != ".";
}

void checkVersions(const BundleLayout& layout) {
  const FileDescriptor versions = openFolder(layout.bundle.get(), std::string(kVersions));
  for (const FolderEntry& entry : readFolder(versions)) {
    const bool isExpected = (entry.kind == FolderEntryKind::folder && entry.name != kCurrent) ||
                            (entry.kind == FolderEntryKind::link && entry.name == kCurrent) || isFolderSettings(entry);
    if (!isExpected) {
      fail(CodeSignatureErrorCode::unsealedFrameworkRootContents, layout.path + "/Versions/" + entry.name);
    }
  }
}

void checkFrameworkRoot(const BundleLayout& layout) {
  for (const std::string& path : {layout.mainExecutable, layout.informationPath}) {
    if (!leadsToCurrentVersion(layout, path)) {
      throw CodeSignatureError(CodeSignatureErrorCode::ambiguousBundleFormat);
    }
  }
  for (const FolderEntry& entry : readFolder(layout.bundle)) {
    const bool isVersions = entry.kind == FolderEntryKind::folder && entry.name == kVersions;
    const bool isModuleMap = entry.kind == FolderEntryKind::file && entry.name == "module.map";
    const bool isExpected = isVersions || isModuleMap || isFolderSettings(entry) || isLinkIntoVersion(layout, entry);
    if (!isExpected) fail(CodeSignatureErrorCode::unsealedFrameworkRootContents, layout.path + "/" + entry.name);
  }
  checkVersions(layout);
}

void checkContentsRoot(const BundleLayout& layout) {
  for (const FolderEntry& entry : readFolder(layout.bundle)) {
    const bool isExpected = (entry.kind == FolderEntryKind::folder && entry.name == layout.supportName) ||
                            isDesktopFile(layout.bundle.get(), entry);
    if (!isExpected) fail(CodeSignatureErrorCode::unsealedRootContents, layout.path + "/" + entry.name);
  }
}

}  // namespace

void checkBundleRoot(const BundleLayout& layout) {
  switch (layout.form) {
    case BundleForm::contents:
      return checkContentsRoot(layout);
    case BundleForm::framework:
      return checkFrameworkRoot(layout);
    case BundleForm::flat:
      return;  // the seal covers all of it
  }
}

void checkSignatureFolder(const BundleLayout& layout, const LoadedSignature& signature, bool isEmbedded) {
  const FileDescriptor folder = openFolder(layout.support.get(), "_CodeSignature");
  for (const FolderEntry& entry : readFolder(folder)) {
    bool isExpected = entry.kind == FolderEntryKind::file;
    if (isEmbedded) {
      isExpected =
          isExpected && (entry.name == codeSlotFileName(CodeSlot::resources) ||
                         (entry.name == codeSlotFileName(CodeSlot::signature) && isEmptyFile(folder, entry.name)));
    } else {
      isExpected = isExpected && isPartOfSignature(entry.name, signature);
    }
    if (!isExpected) {
      fail(CodeSignatureErrorCode::unsealedRootContents, layout.supportPath() + "/_CodeSignature/" + entry.name);
    }
  }
}

std::vector<std::string> otherVersions(const BundleLayout& layout) {
  std::vector<std::string> names;
  if (layout.form != BundleForm::framework) return names;
  for (FolderEntry& entry : readFolder(openFolder(layout.bundle.get(), std::string(kVersions)))) {
    const bool isOther = entry.kind == FolderEntryKind::folder && "Versions/" + entry.name != layout.supportName;
    if (isOther) names.push_back(std::move(entry.name));
  }
  return names;
}

}  // namespace quillon
