#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementBackup.h"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>
#include <vector>

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

struct Backup {
  QuillonURL url;
  QuillonFileStatus status;
};

/// The backup folders beside `installed`.
std::vector<Backup> backupsOf(const QuillonFileManaging& fileManager, const QuillonURL& installed) {
  const QuillonURL folder = installed.deletingLastPathComponent();
  std::vector<Backup> backups;
  for (const std::string& name : fileManager.contentsOfDirectory(folder)) {
    if (!isBackupName(name, installed.lastPathComponent())) continue;
    QuillonURL url = folder.appendingPathComponent(name);
    const std::optional<QuillonFileStatus> status = fileManager.itemStatus(url);
    if (!status || !fileManager.directoryExists(url)) continue;  // an installed link is moved aside itself
    backups.push_back({.url = std::move(url), .status = *status});
  }
  return backups;
}

/// The backup folder of `installed` that was moved there last.
std::optional<QuillonURL> latestBackup(const QuillonFileManaging& fileManager, const QuillonURL& installed) {
  const std::vector<Backup> backups = backupsOf(fileManager, installed);
  const auto latest =
      std::ranges::max_element(backups, {}, [](const Backup& backup) { return backup.status.changeTimeNanoseconds; });
  if (latest == backups.end()) return std::nullopt;
  return latest->url;
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

std::vector<std::string> VeskAppBundleReplacementBackup::removeAbandonedBackups(const QuillonFileManaging& fileManager,
                                                                                const QuillonURL& installed) noexcept {
  std::vector<std::string> removed;
  try {
    const std::optional<QuillonFileStatus> application = fileManager.itemStatus(installed);
    if (!application) return removed;
    for (const Backup& backup : backupsOf(fileManager, installed)) {
      if (backup.status.type != QuillonFileType::directory) continue;
      if (backup.status.userIdentifier != application->userIdentifier) continue;
      fileManager.removeItem(backup.url);
      removed.emplace_back(backup.url.lastPathComponent());
    }
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): the next replacement tries again
  }
  return removed;
}

}  // namespace quillon
