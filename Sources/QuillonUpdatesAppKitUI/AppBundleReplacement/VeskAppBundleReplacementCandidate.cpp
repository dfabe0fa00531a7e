#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementCandidate.h"

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonUUID.h"

namespace quillon {
namespace {

constexpr std::string_view kWorkFolderSuffix = ".vesk-update-work-";
constexpr std::uint32_t kPrivateFolder = 0700;  // as createPrivateDirectory makes it

QuillonFileIdentity identityOf(const QuillonFileManaging& fileManager, const QuillonURL& item) {
  const std::optional<QuillonFileStatus> status = fileManager.itemStatus(item);
  if (!status) throw QuillonError("There is nothing at " + item.path());
  return status->identity;
}

}  // namespace

VeskAppBundleReplacementCandidate::VeskAppBundleReplacementCandidate(
    std::shared_ptr<const QuillonFileManaging> fileManager, QuillonURL staged)
    : fileManager_(std::move(fileManager)),
      staged_(std::move(staged)),
      stagedIdentity_(identityOf(*fileManager_, staged_)),
      url_(staged_),
      identity_(*stagedIdentity_) {}

VeskAppBundleReplacementCandidate VeskAppBundleReplacementCandidate::inPlace(
    std::shared_ptr<const QuillonFileManaging> fileManager, QuillonURL staged) {
  return {std::move(fileManager), std::move(staged)};
}

VeskAppBundleReplacementCandidate VeskAppBundleReplacementCandidate::copiedBeside(
    std::shared_ptr<const QuillonFileManaging> fileManager, QuillonURL staged, const QuillonURL& installed) {
  VeskAppBundleReplacementCandidate candidate(std::move(fileManager), std::move(staged));
  const QuillonURL folder = installed.deletingLastPathComponent().appendingPathComponent(
      "." + std::string(installed.lastPathComponent()) + std::string(kWorkFolderSuffix) + makeUUIDString());
  candidate.pin_ = candidate.fileManager_->createPrivateDirectory(folder);
  candidate.workFolder_ = folder;
  candidate.url_ = candidate.pin_->url().appendingPathComponent(installed.lastPathComponent());
  candidate.fileManager_->copyItem(candidate.staged_, candidate.url_);
  candidate.identity_ = identityOf(*candidate.fileManager_, candidate.url_);
  return candidate;
}

QuillonURL VeskAppBundleReplacementCandidate::stagedCounterpart(const QuillonURL& item) const {
  for (const QuillonURL& root : {url_, fileManager_->resolvingSymbolicLinks(url_)}) {
    if (item.path().starts_with(root.path())) {
      return staged_.appendingPathComponent(item.path().substr(root.path().size()));
    }
  }
  return item;
}

void VeskAppBundleReplacementCandidate::removeAbandonedCopies(const QuillonFileManaging& fileManager,
                                                              const QuillonURL& installed) noexcept {
  try {
    const QuillonURL folder = installed.deletingLastPathComponent();
    const std::string prefix = "." + std::string(installed.lastPathComponent()) + std::string(kWorkFolderSuffix);
    for (const std::string& name : fileManager.contentsOfDirectory(folder)) {
      if (!name.starts_with(prefix)) continue;
      const QuillonURL copy = folder.appendingPathComponent(name);
      const std::optional<QuillonFileStatus> status = fileManager.itemStatus(copy);
      if (!status || status->type != QuillonFileType::directory || status->permissions != kPrivateFolder ||
          status->userIdentifier != fileManager.effectiveUserIdentifier()) {
        continue;
      }
      fileManager.removeItem(copy);
    }
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a closed folder that stays harms nobody
  }
}

VeskAppBundleReplacementCandidate& VeskAppBundleReplacementCandidate::operator=(
    VeskAppBundleReplacementCandidate&& other) noexcept {
  if (this != &other) {
    removeWorkFolder();
    fileManager_ = std::move(other.fileManager_);
    staged_ = std::move(other.staged_);
    stagedIdentity_ = other.stagedIdentity_;
    url_ = std::move(other.url_);
    identity_ = other.identity_;
    workFolder_ = std::move(other.workFolder_);
    pin_ = std::move(other.pin_);
  }
  return *this;
}

VeskAppBundleReplacementCandidate::~VeskAppBundleReplacementCandidate() {
  removeWorkFolder();
}

void VeskAppBundleReplacementCandidate::removeWorkFolder() noexcept {
  if (!pin_) return;
  try {
    if (fileManager_->itemStatus(url_)) fileManager_->removeItem(url_);
    fileManager_->removeEmptyDirectory(*workFolder_);
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a closed folder that stays harms nobody
  }
  pin_.reset();
}

void VeskAppBundleReplacementCandidate::removeStagedRemains() const noexcept {
  try {
    if (isCopy()) {
      const std::optional<QuillonFileStatus> status = fileManager_->itemStatus(staged_);
      if (status && status->identity == stagedIdentity_) fileManager_->removeItem(staged_);
    }
    const QuillonURL folder = staged_.deletingLastPathComponent();
    if (fileManager_->contentsOfDirectory(folder).empty()) fileManager_->removeEmptyDirectory(folder);
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): what stays of the staging area is its owner's
  }
}

}  // namespace quillon
