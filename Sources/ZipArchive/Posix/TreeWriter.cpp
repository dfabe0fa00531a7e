#include "ZipArchive/Posix/TreeWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <limits>
#include <utility>

#include "QuillonCore/Runtime/QuillonParallelFor.h"
#include "ZipArchive/AppleDouble.h"
#include "ZipArchive/Posix/FolderOpening.h"
#include "ZipArchive/Posix/ItemAttributes.h"
#include "ZipArchive/ZipArchiveError.h"

namespace quillon {
namespace {

constexpr mode_t kDefaultFilePermissions = 0644;
constexpr mode_t kDefaultFolderPermissions = 0755;

/// Memory for entries that are inflated as a whole, of all threads together, compressed and inflated bytes.
constexpr std::uint64_t kWholeMemory = std::uint64_t{48} << 20;
constexpr std::uint64_t kLargestWhole = std::uint64_t{8} << 20;

/// What a thread takes at once: enough that taking costs nothing, little enough that all threads end together.
constexpr std::uint64_t kBatchSize = std::uint64_t{1} << 20;
constexpr std::size_t kBatchCount = 128;

mode_t permissionsOf(const ZipEntry& entry, mode_t otherwise) noexcept {
  return entry.permissions ? *entry.permissions : otherwise;
}

/// Of access and modification, as the system takes them.
std::array<struct timespec, 2> timesOf(const ZipEntry& entry) noexcept {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(entry.modificationTime);
  struct timespec time {};
  time.tv_sec = seconds.time_since_epoch().count();
  time.tv_nsec = (entry.modificationTime - seconds).count();
  return {time, time};
}

void restoreTime(const ZipEntry& entry, int descriptor) {
  if (futimens(descriptor, timesOf(entry).data()) != 0) {
    throw QuillonSystemError::posix(errno, "set the time of", entry.path);
  }
}

void restorePermissions(mode_t permissions, int descriptor, const std::string& name) {
  if (fchmod(descriptor, permissions) != 0) throw QuillonSystemError::posix(errno, "set the permissions of", name);
}

/// Closes a file that was written: some file systems only tell here that it did not fit.
void closeWritten(FileDescriptor file, const std::string& name) {
  if (close(file.release()) != 0 && errno != EINTR) throw QuillonSystemError::posix(errno, "write", name);
}

}  // namespace

TreeWriter::TreeWriter(const ArchiveContents& contents, int root, std::stop_token stop,
                       ExtractedItemHandler didFinishItem, std::uint64_t wholeLimit)
    : contents_(contents),
      root_(root),
      stop_(std::move(stop)),
      didFinishItem_(std::move(didFinishItem)),
      wholeLimit_(wholeLimit) {}

std::uint64_t TreeWriter::usualWholeLimit() noexcept {
  const std::size_t workers = quillonParallelForWorkerCount(std::numeric_limits<std::size_t>::max());
  return std::min<std::uint64_t>(kLargestWhole, kWholeMemory / (2 * workers));
}

void TreeWriter::throwIfStopped() const {
  if (stop_.stop_requested()) throw QuillonCancellationError();
}

void TreeWriter::tellOf(std::size_t item) const {
  if (didFinishItem_) didFinishItem_(contents_.tree.path(item));
}

void TreeWriter::makeFolders() {
  makeFoldersIn(ArchiveTree::kRoot, root_);
}

void TreeWriter::makeFoldersIn(std::size_t item, int folder) {
  throwIfStopped();
  for (const std::size_t child : contents_.tree.items()[item].children) {
    const ArchiveItem& made = contents_.tree.items()[child];
    if (made.kind != ZipEntryKind::folder) continue;
    if (mkdirat(folder, made.name.c_str(), S_IRWXU) != 0) {
      throw QuillonSystemError::posix(errno, "make", contents_.tree.path(child));
    }
    if (!made.children.empty()) makeFoldersIn(child, openSubfolder(folder, made.name).get());
  }
}

std::vector<TreeWriter::Batch> TreeWriter::batches(bool withLargeAttributes) const {
  std::vector<Batch> batches;
  const std::vector<ArchiveItem>& items = contents_.tree.items();
  for (std::size_t folder = 0; folder < items.size(); ++folder) {
    Batch batch{.folder = folder, .items = {}, .size = 0};
    for (const std::size_t child : items[folder].children) {
      if (items[child].kind != ZipEntryKind::file || hasLargeAttributes(items[child]) != withLargeAttributes) continue;
      batch.items.push_back(child);
      batch.size += contents_.entries[*items[child].entry].size;
      if (batch.size >= kBatchSize || batch.items.size() == kBatchCount) {
        batches.push_back(std::exchange(batch, {.folder = folder, .items = {}, .size = 0}));
      }
    }
    if (!batch.items.empty()) batches.push_back(std::move(batch));
  }
  // The largest first: a large file that came last would leave all threads but one without work.
  std::stable_sort(batches.begin(), batches.end(), [](const Batch& a, const Batch& b) { return a.size > b.size; });
  return batches;
}

void TreeWriter::writeFiles() {
  writeOnAllThreads(batches(false));
  // AppleDouble files are read whole whatever their size, and a thread keeps memory that it has used: only one has that
  // of the large ones.
  EntryReader reader(contents_.archive);
  for (const Batch& batch : batches(true)) writeBatch(batch, reader);
}

void TreeWriter::writeOnAllThreads(const std::vector<Batch>& work) const {
  std::vector<EntryReader> readers;
  const std::size_t workers = quillonParallelForWorkerCount(work.size());
  for (std::size_t i = 0; i < workers; ++i) readers.emplace_back(contents_.archive);
  quillonParallelFor(work.size(),
                     [&](std::size_t index, std::size_t worker) { writeBatch(work[index], readers[worker]); });
}

void TreeWriter::writeBatch(const Batch& batch, EntryReader& reader) const {
  const FileDescriptor folder = openFolderBelow(root_, contents_.tree.path(batch.folder));
  for (const std::size_t item : batch.items) {
    throwIfStopped();
    writeFile(contents_.tree.items()[item], folder.get(), reader);
    tellOf(item);
  }
}

void TreeWriter::writeFile(const ArchiveItem& item, int folder, EntryReader& reader) const {
  const ZipEntry& entry = contents_.entries[*item.entry];
  // Only this user can write it until it is complete.
  FileDescriptor file(
      openat(folder, item.name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!file) throw QuillonSystemError::posix(errno, "make", entry.path);
  writeContent(entry, file.get(), reader);
  restoreAttributes(item, file.get(), reader);
  restorePermissions(permissionsOf(entry, kDefaultFilePermissions), file.get(), entry.path);
  restoreTime(entry, file.get());
  closeWritten(std::move(file), entry.path);
}

void TreeWriter::writeContent(const ZipEntry& entry, int file, EntryReader& reader) const {
  if (fitsIntoMemory(entry)) return writeAll(file, reader.readWhole(entry), entry.path);
  reader.stream(
      entry, [&](std::string_view bytes) { writeAll(file, bytes, entry.path); }, stop_);
}

bool TreeWriter::fitsIntoMemory(const ZipEntry& entry) const noexcept {
  return entry.size <= wholeLimit_ && entry.compressedSize <= wholeLimit_;
}

bool TreeWriter::hasLargeAttributes(const ArchiveItem& item) const noexcept {
  return item.appleDouble && !fitsIntoMemory(contents_.entries[*item.appleDouble]);
}

void TreeWriter::restoreAttributes(const ArchiveItem& item, int descriptor, EntryReader& reader) const {
  if (!item.appleDouble) return;
  setItemAttributes(descriptor, parseAppleDouble(reader.readWhole(contents_.entries[*item.appleDouble])));
}

void TreeWriter::makeLinks() {
  for (const LinkTarget& link : contents_.linkTargets) {
    throwIfStopped();
    const ArchiveItem& item = contents_.tree.items()[link.item];
    const ZipEntry& entry = contents_.entries[*item.entry];
    const FileDescriptor folder = openFolderBelow(root_, contents_.tree.path(item.parent));
    if (symlinkat(link.target.c_str(), folder.get(), item.name.c_str()) != 0) {
      throw QuillonSystemError::posix(errno, "make", entry.path);
    }
    if (utimensat(folder.get(), item.name.c_str(), timesOf(entry).data(), AT_SYMLINK_NOFOLLOW) != 0) {
      throw QuillonSystemError::posix(errno, "set the time of", entry.path);
    }
    tellOf(link.item);
  }
}

void TreeWriter::finishFolders() {
  EntryReader reader(contents_.archive);
  for (const std::size_t child : contents_.tree.items()[ArchiveTree::kRoot].children) {
    const ArchiveItem& item = contents_.tree.items()[child];
    if (item.kind == ZipEntryKind::folder) finishFolder(child, openSubfolder(root_, item.name).get(), reader);
  }
}

void TreeWriter::finishFolder(std::size_t item, int folder, EntryReader& reader) {
  throwIfStopped();
  const ArchiveItem& finished = contents_.tree.items()[item];
  for (const std::size_t child : finished.children) {
    const ArchiveItem& inner = contents_.tree.items()[child];
    if (inner.kind == ZipEntryKind::folder) finishFolder(child, openSubfolder(folder, inner.name).get(), reader);
  }
  restoreAttributes(finished, folder, reader);
  const ZipEntry* const entry = finished.entry ? &contents_.entries[*finished.entry] : nullptr;
  const mode_t permissions =
      entry != nullptr ? permissionsOf(*entry, kDefaultFolderPermissions) : kDefaultFolderPermissions;
  restorePermissions(permissions | S_IRWXU, folder, finished.name);
  if ((permissions & S_IRWXU) != S_IRWXU) {
    struct stat status {};
    if (fstat(folder, &status) != 0) throw QuillonSystemError::posix(errno, "examine", finished.name);
    restricted_.push_back({item, status.st_ino, permissions});
  }
  if (entry != nullptr) restoreTime(*entry, folder);
  tellOf(item);
}

void TreeWriter::restrictFolders(int destination) const {
  // Folders come here behind those in them, which can then still be reached.
  for (const RestrictedFolder& restricted : restricted_) {
    const std::string path = contents_.tree.path(restricted.item);
    const FileDescriptor folder = openFolderBelow(destination, path);
    struct stat status {};
    if (fstat(folder.get(), &status) != 0) throw QuillonSystemError::posix(errno, "examine", path);
    // Another folder of that name was there before, and keeps its permissions.
    if (status.st_ino == restricted.inode) restorePermissions(restricted.permissions, folder.get(), path);
  }
}

}  // namespace quillon
