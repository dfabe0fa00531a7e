#include "Support/FaultInjectingFileManager.h"

#include <cerrno>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon::testing {
namespace {

/// Runs the watcher when the change is over, also for changes that return something.
class AtEnd {
 public:
  explicit AtEnd(const std::function<void()>* action) : action_(action) {}
  ~AtEnd() {
    if (action_ != nullptr) (*action_)();
  }
  AtEnd(const AtEnd&) = delete;
  AtEnd& operator=(const AtEnd&) = delete;

 private:
  const std::function<void()>* action_;
};

}  // namespace

void FaultInjectingFileManager::failChange(int n, int code) {
  failing_ = n;
  failingCode_ = code;
}

void FaultInjectingFileManager::afterChange(int n, std::function<void()> action) {
  watchedAfter_ = n;
  after_ = std::move(action);
}

void FaultInjectingFileManager::beforeChange(int n, std::function<void()> action) {
  watchedBefore_ = n;
  before_ = std::move(action);
}

void FaultInjectingFileManager::beforeEveryChange(std::function<void()> action) {
  beforeEvery_ = std::move(action);
}

void FaultInjectingFileManager::failChangesBelow(QuillonURL folder, int code) {
  closedFolder_ = std::move(folder);
  closedFolderCode_ = code;
}

void FaultInjectingFileManager::closeFoldersNamed(std::string name) {
  unlistedName_ = std::move(name);
}

void FaultInjectingFileManager::closeItemsInFoldersNamed(std::string name) {
  unsearchedName_ = std::move(name);
}

void FaultInjectingFileManager::placeWorkingFolders(std::vector<QuillonURL> applicationSupport, QuillonURL temporary) {
  applicationSupport_ = std::move(applicationSupport);
  temporary_ = std::move(temporary);
}

template <typename Change>
auto FaultInjectingFileManager::change(const QuillonURL& item, Change&& perform) const {
  const int number = ++changes_;
  if (number == watchedBefore_) before_();
  if (beforeEvery_) beforeEvery_();
  if (closedFolder_ && (item.path() + '/').starts_with(closedFolder_->path() + '/')) {
    throw QuillonSystemError::posix(closedFolderCode_, "change", item.path());
  }
  if (number == failing_) {
    didFail_ = true;
    throw QuillonSystemError::posix(failingCode_, "make change", std::to_string(number));
  }
  const AtEnd watcher(number == watchedAfter_ ? &after_ : nullptr);
  return std::forward<Change>(perform)();
}

std::optional<QuillonFileStatus> FaultInjectingFileManager::itemStatus(const QuillonURL& item) const {
  if (unsearchedName_ && item.deletingLastPathComponent().lastPathComponent() == *unsearchedName_) {
    throw QuillonSystemError::posix(EACCES, "look at", item.path());
  }
  return real_->itemStatus(item);
}
bool FaultInjectingFileManager::fileExists(const QuillonURL& item) const noexcept {
  return real_->fileExists(item);
}
bool FaultInjectingFileManager::directoryExists(const QuillonURL& item) const noexcept {
  return real_->directoryExists(item);
}
bool FaultInjectingFileManager::isExecutableFile(const QuillonURL& item) const noexcept {
  return real_->isExecutableFile(item);
}
bool FaultInjectingFileManager::isWritableDirectory(const QuillonURL& item) const noexcept {
  return real_->isWritableDirectory(item);
}
std::string FaultInjectingFileManager::contentsOfFile(const QuillonURL& file, std::size_t limit) const {
  return real_->contentsOfFile(file, limit);
}
std::vector<std::string> FaultInjectingFileManager::contentsOfDirectory(const QuillonURL& directory) const {
  if (unlistedName_ && directory.lastPathComponent() == *unlistedName_) {
    throw QuillonSystemError::posix(EACCES, "list", directory.path());
  }
  return real_->contentsOfDirectory(directory);
}
QuillonURL FaultInjectingFileManager::resolvingSymbolicLinks(const QuillonURL& item) const {
  return real_->resolvingSymbolicLinks(item);
}
std::string FaultInjectingFileManager::pathForOtherPrograms(const QuillonURL& item) const {
  return real_->pathForOtherPrograms(item);
}

std::unique_ptr<QuillonPinnedDirectory> FaultInjectingFileManager::pinDirectory(const QuillonURL& directory) const {
  return real_->pinDirectory(directory);
}
std::uint32_t FaultInjectingFileManager::effectiveUserIdentifier() const noexcept {
  return real_->effectiveUserIdentifier();
}
QuillonURL FaultInjectingFileManager::temporaryDirectory() const {
  return temporary_ ? *temporary_ : real_->temporaryDirectory();
}
std::vector<QuillonURL> FaultInjectingFileManager::applicationSupportDirectories() const {
  return temporary_ ? applicationSupport_ : real_->applicationSupportDirectories();
}
void FaultInjectingFileManager::createDirectory(const QuillonURL& directory) const {
  change(directory, [&] { real_->createDirectory(directory); });
}
std::unique_ptr<QuillonPinnedDirectory> FaultInjectingFileManager::createPrivateDirectory(
    const QuillonURL& directory) const {
  return change(directory, [&] { return real_->createPrivateDirectory(directory); });
}
void FaultInjectingFileManager::writeFileAtomically(const QuillonURL& file, std::string_view bytes) const {
  change(file, [&] { real_->writeFileAtomically(file, bytes); });
}
void FaultInjectingFileManager::createFile(const QuillonURL& file, std::string_view bytes) const {
  change(file, [&] { real_->createFile(file, bytes); });
}
void FaultInjectingFileManager::moveItem(const QuillonURL& item, const QuillonURL& destination) const {
  change(item, [&] { real_->moveItem(item, destination); });
}
void FaultInjectingFileManager::copyItem(const QuillonURL& item, const QuillonURL& destination) const {
  change(item, [&] { real_->copyItem(item, destination); });
}
void FaultInjectingFileManager::removeItem(const QuillonURL& item) const {
  change(item, [&] { real_->removeItem(item); });
}
void FaultInjectingFileManager::removeEmptyDirectory(const QuillonURL& directory) const {
  change(directory, [&] { real_->removeEmptyDirectory(directory); });
}
void FaultInjectingFileManager::changeOwner(const QuillonURL& item, std::uint32_t userIdentifier,
                                            std::uint32_t groupIdentifier) const {
  change(item, [&] { real_->changeOwner(item, userIdentifier, groupIdentifier); });
}
void FaultInjectingFileManager::changeOwnerOfDescendants(const QuillonURL& directory, std::uint32_t userIdentifier,
                                                         std::uint32_t groupIdentifier) const {
  change(directory, [&] { real_->changeOwnerOfDescendants(directory, userIdentifier, groupIdentifier); });
}
bool FaultInjectingFileManager::changeOwnerOfFile(const QuillonURL& file, std::uint32_t userIdentifier,
                                                  std::uint32_t groupIdentifier, std::size_t limit,
                                                  bool (*mayBeChanged)(std::string_view bytes)) const {
  return change(file,
                [&] { return real_->changeOwnerOfFile(file, userIdentifier, groupIdentifier, limit, mayBeChanged); });
}
std::optional<QuillonFileFailure> FaultInjectingFileManager::releaseQuarantine(const QuillonURL& root) const {
  return change(root, [&] { return real_->releaseQuarantine(root); });
}
void FaultInjectingFileManager::synchronizeVolume(const QuillonURL& directory) const {
  change(directory, [&] { real_->synchronizeVolume(directory); });
}

}  // namespace quillon::testing
