#include "CodeSignature/ResourceScan.h"

#include <string_view>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/FolderReader.h"

namespace quillon {
namespace {

constexpr std::string_view kSignatureFolder = "_CodeSignature";

class Scanner {
 public:
  Scanner(const FileDescriptor& support, const ResourceRules& rules, const std::string& mainExecutable,
          const std::string& displayPath)
      : support_(support), rules_(rules), mainExecutable_(mainExecutable), displayPath_(displayPath) {}

  std::vector<ScannedResource> scan() {
    // One descriptor at a time, however deep the tree is.
    pendingFolders_.emplace_back();
    while (!pendingFolders_.empty()) {
      const std::string folder = std::move(pendingFolders_.back());
      pendingFolders_.pop_back();
      visitFolder(folder);
    }
    return std::move(found_);
  }

 private:
  [[noreturn]] void fail(CodeSignatureErrorCode code, const std::string& path) const {
    throw CodeSignatureError(code, {"file added: " + displayPath_ + "/" + path});
  }

  void visitFolder(const std::string& folder) {
    try {
      const FileDescriptor descriptor = openFolderBeneath(support_.get(), folder);
      const std::string prefix = folder.empty() ? std::string() : folder + "/";
      for (const FolderEntry& entry : readFolder(descriptor)) visit(descriptor, entry, prefix + entry.name);
    } catch (const QuillonSystemError& error) {
      throw CodeSignatureError(CodeSignatureErrorCode::notReadable,
                               {"In folder: " + displayPath_ + "/" + folder, error.description()});
    }
  }

  void visit(const FileDescriptor& folder, const FolderEntry& entry, const std::string& path) {
    const FolderEntryKind excludedKind = path == kSignatureFolder ? FolderEntryKind::folder : FolderEntryKind::file;
    if (isExcludedFromSealing(path, mainExecutable_) && entry.kind == excludedKind) return;
    const ResourceRule* rule = rules_.find(path);
    const bool isSealed = rule != nullptr && !rule->isOmitted;
    switch (entry.kind) {
      case FolderEntryKind::other:
        fail(CodeSignatureErrorCode::unsupportedResource, path);
      case FolderEntryKind::link:
        if (entry.name == ".DS_Store") fail(CodeSignatureErrorCode::folderSettingsLinkRefused, path);
        // What may be left out is a file whose content does not matter, not a way to somewhere else.
        if (rule != nullptr && rule->isOmitted) fail(CodeSignatureErrorCode::badResource, path);
        if (isSealed) add(path, ScannedResourceKind::link, *rule, readLink(folder.get(), entry.name));
        return;
      case FolderEntryKind::file:
        if (isSealed) add(path, ScannedResourceKind::file, *rule, {});
        return;
      case FolderEntryKind::folder:
        if (isSealed && rule->isNested && entry.name.find('.') != std::string::npos) {
          add(path, ScannedResourceKind::nestedCode, *rule, {});
        } else {
          pendingFolders_.push_back(path);
        }
        return;
    }
  }

  void add(const std::string& path, ScannedResourceKind kind, const ResourceRule& rule, std::string linkText) {
    found_.push_back({.path = path,
                      .kind = kind,
                      .linkText = std::move(linkText),
                      .isOptional = rule.isOptional,
                      .isAtNestedPlace = rule.isNested});
  }

  const FileDescriptor& support_;
  const ResourceRules& rules_;
  const std::string& mainExecutable_;
  const std::string& displayPath_;
  std::vector<std::string> pendingFolders_;
  std::vector<ScannedResource> found_;
};

}  // namespace

std::vector<ScannedResource> scanResources(const FileDescriptor& support, const ResourceRules& rules,
                                           const std::string& mainExecutable, const std::string& displayPath) {
  return Scanner(support, rules, mainExecutable, displayPath).scan();
}

bool isExcludedFromSealing(const std::string& path, const std::string& mainExecutable) {
  const bool isSignature = path.starts_with(kSignatureFolder) &&
                           (path.size() == kSignatureFolder.size() || path[kSignatureFolder.size()] == '/');
  return isSignature || path == "CodeResources" || path == "_MASReceipt/receipt" || path == mainExecutable;
}

}  // namespace quillon
