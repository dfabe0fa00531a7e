#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementBackup.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonUUID.h"

namespace quillon {
namespace {

constexpr std::string_view kBackupSuffix = ".vesk-update-backup-";
constexpr std::size_t kUUIDLength = 36;

bool isBackupName(std::string_view name, std::string_view installedName) {
  if (!name.starts_with(installedName) || !name.substr(installedName.size()).starts_with(kBackupSuffix)) return false;
  const std::string_view identifier = name.substr(installedName.size() + kBackupSuffix.size());
  return identifier.size() == kUUIDLength && std::ranges::all_of(identifier, [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || c == '-';
         });
}

std::vector<QuillonURL> backupsOf(const QuillonFileManaging& fileManager, const QuillonURL& installed) {
  const QuillonURL folder = installed.deletingLastPathComponent();
  std::vector<QuillonURL> backups;
  for (const std::string& name : fileManager.contentsOfDirectory(folder)) {
    if (isBackupName(name, installed.lastPathComponent())) backups.push_back(folder.appendingPathComponent(name));
  }
  return backups;
}

/// The backup folder of `installed` that was moved there last.
std::optional<QuillonURL> latestBackup(const QuillonFileManaging& fileManager, const QuillonURL& installed) {
  std::optional<QuillonURL> latest;
  std::int64_t latestChange = 0;
  for (const QuillonURL& candidate : backupsOf(fileManager, installed)) {
    const std::optional<QuillonFileStatus> status = fileManager.itemStatus(candidate);
    if (!status || !fileManager.directoryExists(candidate)) continue;  // an installed link is moved aside itself
    if (latest && status->changeTimeNanoseconds <= latestChange) continue;
    latest = candidate;
    latestChange = status->changeTimeNanoseconds;
  }
  return latest;
}

}  // namespace

VeskAppBundleReplacementBackup::VeskAppBundleReplacementBackup(std::shared_ptr<const QuillonFileManaging> fileManager,
                                                               QuillonURL installed)
    : fileManager_(std::move(fileManager)),
      installed_(std::move(installed)),
      url_(installed_.deletingLastPathComponent().appendingPathComponent(
          std::string(installed_.lastPathComponent()).append(kBackupSuffix).append(makeUUIDString()))) {}

VeskAppBundleReplacementBackup::~VeskAppBundleReplacementBackup() {
  if (!isNeeded_) return;
  try {
    restore();
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): the error that led here is the one to report
  }
}

void VeskAppBundleReplacementBackup::moveAside() {
  isNeeded_ = true;
  fileManager_->moveItem(installed_, url_);
}

void VeskAppBundleReplacementBackup::restore() {
  if (!fileManager_->itemStatus(url_)) throw QuillonError("There is no backup at " + url_.path());
  if (fileManager_->itemStatus(installed_)) fileManager_->removeItem(installed_);
  fileManager_->moveItem(url_, installed_);
  isNeeded_ = false;
}

void VeskAppBundleReplacementBackup::remove() noexcept {
  isNeeded_ = false;
  try {
    fileManager_->removeItem(url_);
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a backup that stays costs space and nothing else
  }
}

void VeskAppBundleReplacementBackup::recoverInterruptedReplacement(const QuillonFileManaging& fileManager,
                                                                   const QuillonURL& installed,
                                                                   const QuillonDiagnosticLog& log) noexcept {
  try {
    if (fileManager.itemStatus(installed)) return;
    const std::optional<QuillonURL> backup = latestBackup(fileManager, installed);
    if (!backup) return;
    fileManager.moveItem(*backup, installed);
    log("VeskAppBundleReplacementExecutor: brought back the backup of an interrupted replacement installedApp=" +
        installed.path() + " backup=" + backup->path());
  } catch (const std::exception& error) {
    try {
      log(std::string("VeskAppBundleReplacementExecutor: could not bring back a backup installedApp=") +
          installed.path() + " error=" + error.what());
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): nothing is left to tell it to
    }
  }
}

std::vector<std::string> VeskAppBundleReplacementBackup::removeLeftBehind(const QuillonFileManaging& fileManager,
                                                                          const QuillonURL& installed) noexcept {
  std::vector<std::string> removed;
  try {
    if (!fileManager.itemStatus(installed)) return removed;
    for (const QuillonURL& backup : backupsOf(fileManager, installed)) {
      fileManager.removeItem(backup);
      removed.emplace_back(backup.lastPathComponent());
    }
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a backup that stays costs space and nothing else
  }
  return removed;
}

}  // namespace quillon
