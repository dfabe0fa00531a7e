#include "ZipArchive/Posix/EntryPacker.h"

#include <fcntl.h>
#include <libdeflate.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <new>
#include <string_view>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "ZipArchive/AppleDouble.h"
#include "ZipArchive/AppleDoubleName.h"
#include "ZipArchive/Posix/FolderOpening.h"
#include "ZipArchive/Posix/ItemAttributes.h"
#include "ZipArchive/ZipArchiveError.h"
#include "ZipArchive/ZipEntryName.h"
#include "ZipArchive/ZipFormat.h"

namespace quillon {
namespace {

constexpr int kCompressionLevel = 6;  // zlib's default

[[noreturn]] void refuseChange(const SourceItem& item) {
  throw ZipArchiveError(quotedArchiveName(item.path) + " was changed while it was read.");
}

/// A path taken apart into the folder around it and its name.
std::pair<std::string_view, std::string> split(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return {{}, std::string(path)};
  return {path.substr(0, slash), std::string(path.substr(slash + 1))};
}

std::string readFileContent(const SourceItem& item, int file) {
  // One byte more than it should have tells that the file has grown.
  std::string content(static_cast<std::size_t>(item.status.st_size) + 1, '\0');
  std::size_t length = 0;
  while (length < content.size()) {
    const ssize_t count = read(file, content.data() + length, content.size() - length);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw QuillonSystemError::posix(errno, "read", item.path);
    if (count == 0) break;
    length += static_cast<std::size_t>(count);
  }
  requireUnchanged(item, file);
  if (length + 1 != content.size()) refuseChange(item);
  content.pop_back();
  return content;
}

std::string readTarget(const SourceItem& item, int folder) {
  const auto [parentPath, name] = split(item.path);
  const FileDescriptor parent = openFolderBelow(folder, parentPath);
  std::array<char, 4096> target{};  // PATH_MAX
  const ssize_t length = readlinkat(parent.get(), name.c_str(), target.data(), target.size());
  if (length < 0) throw QuillonSystemError::posix(errno, "read", item.path);
  return {target.data(), static_cast<std::size_t>(length)};
}

}  // namespace

EntryPacker::EntryPacker() : compressor_(libdeflate_alloc_compressor(kCompressionLevel), libdeflate_free_compressor) {
  if (!compressor_) throw std::bad_alloc();
}

std::vector<PackedEntry> EntryPacker::pack(const SourceItem& item, int folder) {
  std::vector<PackedEntry> entries;
  if (S_ISLNK(item.status.st_mode)) {
    entries.push_back(packed(writtenEntry(item), readTarget(item, folder)));
    return entries;
  }
  const FileDescriptor opened = openSourceItem(item, folder);
  const bool isFile = S_ISREG(item.status.st_mode);
  entries.push_back(packed(writtenEntry(item), isFile ? readFileContent(item, opened.get()) : std::string()));
  for (PackedEntry& attributes : packAttributes(item, opened.get())) entries.push_back(std::move(attributes));
  return entries;
}

std::vector<PackedEntry> EntryPacker::packAttributes(const SourceItem& item, int descriptor) {
  const std::vector<ExtendedAttribute> attributes = itemAttributes(descriptor);
  if (attributes.empty()) return {};
  ZipWrittenEntry entry = writtenEntry(item);
  entry.name = appleDoublePath(item.archiveName);
  (void)checkedZipName(entry.name, kZipHostUnix, {});
  entry.mode = S_IFREG | (entry.mode & 0666);
  std::vector<PackedEntry> entries;
  entries.push_back(packed(std::move(entry), makeAppleDouble(attributes)));
  return entries;
}

PackedEntry EntryPacker::packed(ZipWrittenEntry entry, std::string content) {
  entry.crc32 = libdeflate_crc32(0, content.data(), content.size());
  entry.size = content.size();
  std::string deflated(content.size(), '\0');
  // Without room for as much as the content, what deflate does not shrink is refused, and stored.
  const std::size_t length = (entry.mode & S_IFMT) == S_IFREG && !content.empty()
                                 ? libdeflate_deflate_compress(compressor_.get(), content.data(), content.size(),
                                                               deflated.data(), deflated.size() - 1)
                                 : 0;
  entry.method = length > 0 ? kZipMethodDeflated : kZipMethodStored;
  if (length > 0) {
    deflated.resize(length);
    content = std::move(deflated);
  }
  entry.compressedSize = content.size();
  return {std::move(entry), std::move(content)};
}

ZipWrittenEntry writtenEntry(const SourceItem& item) {
  ZipWrittenEntry entry;
  entry.name = item.archiveName + (S_ISDIR(item.status.st_mode) ? "/" : "");
  entry.mode = item.status.st_mode & (S_IFMT | 0777);
  entry.modificationTime = std::chrono::sys_seconds(std::chrono::seconds(item.status.st_mtim.tv_sec));
  return entry;
}

void requireUnchanged(const SourceItem& item, int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) throw QuillonSystemError::posix(errno, "examine", item.path);
  const bool isSame = status.st_size == item.status.st_size && status.st_mtim.tv_sec == item.status.st_mtim.tv_sec &&
                      status.st_mtim.tv_nsec == item.status.st_mtim.tv_nsec;
  if (!isSame) refuseChange(item);
}

FileDescriptor openSourceItem(const SourceItem& item, int folder) {
  const auto [parentPath, name] = split(item.path);
  const FileDescriptor parent = openFolderBelow(folder, parentPath);
  FileDescriptor opened(openat(parent.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!opened || fstat(opened.get(), &status) != 0) throw QuillonSystemError::posix(errno, "open", item.path);
  const bool isSame = status.st_dev == item.status.st_dev && status.st_ino == item.status.st_ino;
  if (!isSame) refuseChange(item);
  return opened;
}

}  // namespace quillon
