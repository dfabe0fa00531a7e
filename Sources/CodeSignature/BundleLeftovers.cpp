#include "CodeSignature/BundleLeftovers.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/FolderReader.h"

namespace quillon {
namespace {

[[noreturn]] void fail(const std::string& path) {
  throw CodeSignatureError(CodeSignatureErrorCode::unsealedRootContents, {"file added: " + path});
}

bool isPartOfSignature(std::string_view name, const LoadedSignature& signature) {
  if (name == "CodeSignature") return true;
  for (std::size_t i = 1; i < signature.directories.size(); ++i) {
    if (kAlternateCodeDirectoryFiles[i - 1] == name) return true;
  }
  const auto* file = std::ranges::find(kCodeSlotFiles, name, &CodeSlotFile::name);
  if (file == kCodeSlotFiles.end()) return false;
  return file->slot == CodeSlot::codeDirectory || signature.best().specialHashes.contains(file->slot);
}

bool isDesktopFile(int folder, const FolderEntry& entry) {
  static constexpr auto kNames =
      std::to_array<std::string_view>({".LSOverride", ".DS_Store", "Icon\r", ".SoftwareDepot.tracking"});
  if (entry.kind != FolderEntryKind::file || std::ranges::find(kNames, entry.name) == kNames.end()) return false;
  struct stat status {};
  return fstatat(folder, entry.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
         (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) == 0;
}

}  // namespace

void checkBundleRoot(const BundleLayout& layout) {
  for (const FolderEntry& entry : readFolder(layout.bundle)) {
    const bool isExpected = (entry.kind == FolderEntryKind::folder && entry.name == "Contents") ||
                            isDesktopFile(layout.bundle.get(), entry);
    if (!isExpected) fail(layout.path + "/" + entry.name);
  }
}

void checkLeftovers(const BundleLayout& layout, const LoadedSignature& signature) {
  const FileDescriptor folder = openFolder(layout.support.get(), "_CodeSignature");
  for (const FolderEntry& entry : readFolder(folder)) {
    const bool isExpected = entry.kind == FolderEntryKind::file && isPartOfSignature(entry.name, signature);
    if (!isExpected) fail(layout.supportPath() + "/_CodeSignature/" + entry.name);
  }
  checkBundleRoot(layout);
}

}  // namespace quillon
