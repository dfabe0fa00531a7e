#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReportStore.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr std::string_view kReportFolderName = "SeamlessInstaller";
constexpr std::string_view kAttemptPrefix = "QuillonUpdateInstallerFailure-";
constexpr std::string_view kReportExtension = "plist";
constexpr std::size_t kLongestAttemptIdentifier = 128;

bool isAttemptCharacter(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

bool isOneFolderName(std::string_view name) noexcept {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
         name.find('\0') == std::string_view::npos;
}

}  // namespace

VeskAppBundleUpdateFailureReportStore::VeskAppBundleUpdateFailureReportStore(
    std::shared_ptr<const QuillonFileManaging> fileManager, std::function<TimePoint()> now)
    : fileManager_(std::move(fileManager)), now_(std::move(now)) {}

VeskAppBundleUpdateFailureReportStore::TimePoint VeskAppBundleUpdateFailureReportStore::currentTime() {
  return std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now());
}

std::optional<QuillonURL> VeskAppBundleUpdateFailureReportStore::reportURL(std::string_view bundleIdentifier,
                                                                           const QuillonURL& applicationSupport) {
  if (!isOneFolderName(bundleIdentifier)) return std::nullopt;
  return applicationSupport.appendingPathComponent(bundleIdentifier)
      .appendingPathComponent(kReportFolderName)
      .appendingPathComponent(reportFileName);
}

std::optional<QuillonURL> VeskAppBundleUpdateFailureReportStore::userApplicationSupportReportURL(
    std::string_view bundleIdentifier, std::string_view homeDirectory) {
  if (homeDirectory.empty()) return std::nullopt;
  return reportURL(bundleIdentifier,
                   QuillonURL::fileURL(homeDirectory).appendingPathComponent("Library/Application Support"));
}

std::optional<QuillonURL> VeskAppBundleUpdateFailureReportStore::sandboxContainerReportURL(
    std::string_view bundleIdentifier, std::string_view homeDirectory) {
  if (homeDirectory.empty() || !isOneFolderName(bundleIdentifier)) return std::nullopt;
  return reportURL(bundleIdentifier, QuillonURL::fileURL(homeDirectory)
                                         .appendingPathComponent("Library/Containers")
                                         .appendingPathComponent(bundleIdentifier)
                                         .appendingPathComponent("Data/Library/Application Support"));
}

std::optional<QuillonURL> VeskAppBundleUpdateFailureReportStore::reportURL(std::string_view bundleIdentifier) const {
  const std::vector<QuillonURL> folders = fileManager_->applicationSupportDirectories();
  if (folders.empty()) return std::nullopt;
  return reportURL(bundleIdentifier, folders.front());
}

std::optional<QuillonURL> VeskAppBundleUpdateFailureReportStore::attemptReportURL(
    const QuillonURL& baseURL, const std::optional<std::string>& attemptIdentifier) {
  if (!attemptIdentifier || attemptIdentifier->empty() || attemptIdentifier->size() > kLongestAttemptIdentifier ||
      !std::ranges::all_of(*attemptIdentifier, isAttemptCharacter)) {
    return std::nullopt;
  }
  return baseURL.deletingLastPathComponent().appendingPathComponent(std::string(kAttemptPrefix) + *attemptIdentifier +
                                                                    "." + std::string(kReportExtension));
}

std::vector<QuillonURL> VeskAppBundleUpdateFailureReportStore::attemptReportURLs(const QuillonURL& baseURL) const {
  const QuillonURL folder = baseURL.deletingLastPathComponent();
  std::vector<QuillonURL> files;
  try {
    for (const std::string& name : fileManager_->contentsOfDirectory(folder)) {
      QuillonURL file = folder.appendingPathComponent(name);
      if (name.starts_with(kAttemptPrefix) && file.pathExtension() == kReportExtension) {
        files.push_back(std::move(file));
      }
    }
  } catch (const QuillonSystemError&) {
    files.clear();  // no folder, no reports
  }
  return files;
}

void VeskAppBundleUpdateFailureReportStore::writeFailureReport(
    const std::string& errorDescription, std::string_view bundleIdentifier, TimePoint failedAt,
    const std::optional<std::string>& attemptIdentifier) const {
  const std::optional<QuillonURL> location = reportURL(bundleIdentifier);
  if (location) writeFailureReport(errorDescription, *location, failedAt, attemptIdentifier);
}

void VeskAppBundleUpdateFailureReportStore::writeFailureReport(
    const std::string& errorDescription, const QuillonURL& reportURL, TimePoint failedAt,
    const std::optional<std::string>& attemptIdentifier) const {
  fileManager_->createDirectory(reportURL.deletingLastPathComponent());
  const VeskAppBundleUpdateFailureReport report{
      .errorDescription = errorDescription, .failedAt = failedAt, .attemptIdentifier = attemptIdentifier};
  fileManager_->writeFileAtomically(attemptReportURL(reportURL, attemptIdentifier).value_or(reportURL),
                                    report.encoded());
}

std::optional<VeskAppBundleUpdateFailureReport> VeskAppBundleUpdateFailureReportStore::consumeFailureReport(
    std::string_view bundleIdentifier, const std::optional<std::string>& preferredAttemptIdentifier) const noexcept {
  try {
    const std::optional<QuillonURL> baseURL = reportURL(bundleIdentifier);
    return baseURL ? consume(*baseURL, preferredAttemptIdentifier) : std::nullopt;
  } catch (const std::exception&) {
    return std::nullopt;  // not even the place of a report can be told
  }
}

std::optional<VeskAppBundleUpdateFailureReport> VeskAppBundleUpdateFailureReportStore::consume(
    const QuillonURL& baseURL, const std::optional<std::string>& preferredAttemptIdentifier) const {
  const std::optional<QuillonURL> attemptURL = attemptReportURL(baseURL, preferredAttemptIdentifier);
  const bool attemptLeftOne = attemptURL && fileManager_->fileExists(*attemptURL);
  if (!attemptLeftOne && !fileManager_->fileExists(baseURL)) return std::nullopt;

  const QuillonURL& file = attemptLeftOne ? *attemptURL : baseURL;
  VeskAppBundleUpdateFailureReport report = readReport(file, preferredAttemptIdentifier);
  removeIgnoringErrors(file);
  if (attemptLeftOne) {
    for (const QuillonURL& other : attemptReportURLs(baseURL)) removeIgnoringErrors(other);
  }
  return report;
}

VeskAppBundleUpdateFailureReport VeskAppBundleUpdateFailureReportStore::readReport(
    const QuillonURL& file, const std::optional<std::string>& attemptIdentifier) const {
  try {
    return VeskAppBundleUpdateFailureReport::decoded(fileManager_->contentsOfFile(file, kLargestReport));
  } catch (const QuillonError&) {
    return {.errorDescription = "Unknown helper failure", .failedAt = now_(), .attemptIdentifier = attemptIdentifier};
  }
}

void VeskAppBundleUpdateFailureReportStore::removeIgnoringErrors(const QuillonURL& file) const {
  try {
    fileManager_->removeItem(file);
  } catch (
      const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): a report that stays is read once more, no worse
  }
}

}  // namespace quillon
