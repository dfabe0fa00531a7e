#include "CodeSignature/SignatureFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/FolderReader.h"
#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kName = "_CodeSignature";
/// No period in it: a folder with one would pass for nested code.
constexpr std::string_view kUnfinishedPrefix = "_CodeSignature-unfinished-";

void removeTree(const fs::path& path) {
  std::error_code error;
  fs::remove_all(path, error);
  if (error) throw QuillonSystemError::posix(error.value(), "remove", path.string());
}

/// A folder that is removed at the end unless it has been given its final name.
class UnfinishedFolder {
 public:
  explicit UnfinishedFolder(const std::string& supportPath)
      : path_(supportPath + "/" + std::string(kUnfinishedPrefix) + "XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) {
      throw QuillonSystemError::posix(errno, "create a folder in", supportPath);
    }
  }
  ~UnfinishedFolder() {
    std::error_code ignored;  // the next signing removes what is left
    fs::remove_all(path_, ignored);
  }
  UnfinishedFolder(const UnfinishedFolder&) = delete;
  UnfinishedFolder& operator=(const UnfinishedFolder&) = delete;

  [[nodiscard]] const std::string& path() const noexcept { return path_; }

 private:
  std::string path_;
};

void writeAll(int file, std::string_view content, const std::string& name) {
  const WriteSignalShield shield;
  while (!content.empty()) {
    const ssize_t count = write(file, content.data(), content.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw QuillonSystemError::posix(errno, "write", name);
    content.remove_prefix(static_cast<std::size_t>(count));
  }
}

FileDescriptor writeFile(const FileDescriptor& folder, const std::string& name, std::string_view content) {
  constexpr mode_t kMode = 0644;
  FileDescriptor file(openat(folder.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kMode));
  if (file.get() < 0) throw QuillonSystemError::posix(errno, "create", name);
  // Whoever runs the code reads its signature, whatever this process keeps to itself.
  if (fchmod(file.get(), kMode) != 0) throw QuillonSystemError::posix(errno, "change the mode of", name);
  writeAll(file.get(), content, name);
  return file;
}

/// The folder must not take its name before its files are on the disk. Waiting for them after all have been written
/// lets the file system bring them there together.
void writeFiles(const FileDescriptor& folder, const SignatureFiles& files) {
  std::vector<FileDescriptor> written;
  for (const auto& [name, content] : files) written.push_back(writeFile(folder, name, content));
  for (const FileDescriptor& file : written) {
    if (fsync(file.get()) != 0) throw QuillonSystemError::posix(errno, "write", "a file of the signature");
  }
}

void exchangeOrRename(const FileDescriptor& support, const std::string& from, const std::string& name) {
  if (renameat2(support.get(), from.c_str(), support.get(), name.c_str(), RENAME_EXCHANGE) == 0) return;
  if (errno != ENOENT) throw QuillonSystemError::posix(errno, "replace", name);
  if (renameat2(support.get(), from.c_str(), support.get(), name.c_str(), RENAME_NOREPLACE) != 0) {
    throw QuillonSystemError::posix(errno, "create", name);
  }
}

/// Seals of very large bundles have tens of millions of bytes; everything else is small.
constexpr std::size_t kPartLimit = 64 << 20;

}  // namespace

std::optional<std::string> readSignatureFile(const BundleLayout& layout, CodeSlot slot) {
  const auto name = codeSlotFileName(slot);
  if (!name) return std::nullopt;
  try {
    const FileDescriptor folder = openFolder(layout.support.get(), std::string(kName));
    return readWholeFile(openRegularFile(folder.get(), std::string(*name)), kPartLimit);
  } catch (const QuillonSystemError& error) {
    if (error.isPOSIX(ENOENT)) return std::nullopt;
    if (error.isPOSIX(EACCES)) throw CodeSignatureError(CodeSignatureErrorCode::notReadable);
    // A link would lead out of the bundle, a special file could make the reader wait.
    throw CodeSignatureError(CodeSignatureErrorCode::signatureFailed);
  }
}

void replaceSignatureFolder(const BundleLayout& layout, const SignatureFiles& files) {
  const UnfinishedFolder unfinished(layout.supportPath());
  const std::string temporaryName = unfinished.path().substr(layout.supportPath().size() + 1);
  const FileDescriptor folder = openFolder(layout.support.get(), temporaryName);
  writeFiles(folder, files);
  constexpr mode_t kMode = 0755;
  if (fchmod(folder.get(), kMode) != 0) throw QuillonSystemError::posix(errno, "change the mode of", temporaryName);
  // After the exchange the previous signature has the temporary name and goes with it.
  exchangeOrRename(layout.support, temporaryName, std::string(kName));
}

void removeUnfinishedSignatureFolders(const BundleLayout& layout) {
  for (const FolderEntry& entry : readFolder(layout.support)) {
    if (entry.name.starts_with(kUnfinishedPrefix)) removeTree(fs::path(layout.supportPath()) / entry.name);
  }
}

}  // namespace quillon
