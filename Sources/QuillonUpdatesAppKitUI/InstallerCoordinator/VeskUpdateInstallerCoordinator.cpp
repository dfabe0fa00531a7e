#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerCoordinator.h"

#include <algorithm>
#include <exception>
#include <future>
#include <string_view>
#include <utility>
#include <variant>

#include "QuillonCore/Runtime/QuillonMainThreadCall.h"
#include "QuillonCore/Text/QuillonCaseFolding.h"
#include "QuillonCore/Text/QuillonLocalizedFormat.h"
#include "QuillonCore/Text/QuillonPathComponent.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "QuillonCore/Values/QuillonUUID.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleFileSafety.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRequest.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReportStore.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateByteCountFormatting.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateUncertainHandOff.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateWorkingFolderSafety.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateReadyInstallConfirmation.h"

namespace quillon {
namespace {

using Code = VeskUpdateInstallerError::Code;
using Result = VeskAppBundleReplacementLaunchResult;

constexpr std::string_view kBundleExtension = "app";
/// The folder at an archive's top with attributes that its format has no place for; nothing in there is the update.
constexpr std::string_view kAttributeFolderName = "__MACOSX";
/// Name of an archive whose location has none.
constexpr std::string_view kUnnamedArchiveFileName = "Update.zip";
constexpr std::int32_t kFirstSuccessStatus = 200;
constexpr std::int32_t kLastSuccessStatus = 299;

void throwIfStopRequested(const std::stop_token& stopToken) {
  if (stopToken.stop_requested()) throw QuillonCancellationError();
}

/// Turns the error of a transfer that was cancelled into the cancellation error; returns for every other one.
void throwIfCancellation(const std::exception& error, const std::stop_token& stopToken) {
  throwIfStopRequested(stopToken);
  if (dynamic_cast<const QuillonCancellationError*>(&error) != nullptr) throw QuillonCancellationError();
  const auto* const urlError = dynamic_cast<const QuillonURLError*>(&error);
  if (urlError != nullptr && urlError->code() == QuillonURLErrorCode::cancelled) throw QuillonCancellationError();
}

/// A transfer ends so when what arrives has room nowhere: that of another location would have none either, and no
/// candidate folder could take it.
void throwIfNowhereToWrite(const std::exception& error) {
  const auto* const urlError = dynamic_cast<const QuillonURLError*>(&error);
  if (urlError != nullptr && urlError->code() == QuillonURLErrorCode::cannotWriteToFile) {
    throw VeskUpdateInstallerError(Code::writeFailed);
  }
}

/// Runs one whole operation, whose failures are the cancellation's consequence once a stop was requested.
template <typename Operation>
void runCancellably(const std::stop_token& stopToken, Operation operation) {
  throwIfStopRequested(stopToken);
  try {
    operation();
  } catch (const QuillonError&) {
    throwIfStopRequested(stopToken);
    throw;
  }
}

void removeItemIgnoringErrors(const QuillonFileManaging& fileManager, const QuillonURL& item) noexcept {
  try {
    fileManager.removeItem(item);
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): what stays in a working folder harms nobody
  }
}

/// Removes what stands in the way of the archive. A folder of its name, which can be anybody's, is left alone.
void removeFileIgnoringErrors(const QuillonFileManaging& fileManager, const QuillonURL& file) noexcept {
  try {
    const std::optional<QuillonFileStatus> status = fileManager.itemStatus(file);
    if (status && status->type != QuillonFileType::directory) fileManager.removeItem(file);
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): writing the archive will tell
  }
}

/// Removes items when it goes, unless they are needed further.
class ScopedRemoval {
 public:
  ScopedRemoval(const QuillonFileManaging& fileManager, std::vector<QuillonURL> items)
      : fileManager_(fileManager), items_(std::move(items)) {}
  ~ScopedRemoval() {
    for (const QuillonURL& item : items_) removeItemIgnoringErrors(fileManager_, item);
  }
  ScopedRemoval(const ScopedRemoval&) = delete;
  ScopedRemoval& operator=(const ScopedRemoval&) = delete;

  void keepItems() noexcept { items_.clear(); }

 private:
  const QuillonFileManaging& fileManager_;
  std::vector<QuillonURL> items_;
};

/// An operation's hold on its window. It ends on the main thread, where the window may go with it.
class WindowHold {
 public:
  WindowHold(std::shared_ptr<QuillonMainThreadDispatching> mainThread, std::shared_ptr<VeskUpdateProgressWindow> window)
      : mainThread_(std::move(mainThread)), window_(std::move(window)) {}
  ~WindowHold() {
    if (window_) mainThread_->post([window = std::move(window_)] {});
  }
  WindowHold(const WindowHold&) = delete;
  WindowHold& operator=(const WindowHold&) = delete;

  [[nodiscard]] const std::shared_ptr<VeskUpdateProgressWindow>& window() const noexcept { return window_; }

 private:
  const std::shared_ptr<QuillonMainThreadDispatching> mainThread_;
  std::shared_ptr<VeskUpdateProgressWindow> window_;
};

/// `folder` with a level for each of `names`. An empty name is no level; one that leads elsewhere is refused.
QuillonURL appendingLevels(QuillonURL folder, std::initializer_list<std::string_view> names) {
  for (const std::string_view name : names) {
    if (name.empty()) continue;
    if (!isSinglePathComponent(name)) throw VeskUpdateInstallerError(Code::writeFailed);
    folder = folder.appendingPathComponent(name);
  }
  return folder;
}

/// Absent for a folder that cannot be listed.
std::optional<std::vector<std::string>> namesIn(const QuillonFileManaging& fileManager, const QuillonURL& folder) {
  try {
    return fileManager.contentsOfDirectory(folder);
  } catch (const QuillonSystemError&) {
    return std::nullopt;
  }
}

/// Whether `item` itself is a folder that can be looked at.
bool isRealDirectory(const QuillonFileManaging& fileManager, const QuillonURL& item) {
  try {
    const std::optional<QuillonFileStatus> status = fileManager.itemStatus(item);
    return status && status->type == QuillonFileType::directory;
  } catch (const QuillonSystemError&) {
    return false;
  }
}

bool isSuccess(const QuillonURLResponse& response) noexcept {
  return !response.httpStatusCode ||
         (*response.httpStatusCode >= kFirstSuccessStatus && *response.httpStatusCode <= kLastSuccessStatus);
}

/// Sizes in the language of the texts around them.
VeskUpdateInstallerCoordinator::ByteCountFormatter byteCountFormatterFor(
    std::shared_ptr<const VeskUpdateLocalizationBundle> texts) {
  return [texts = std::move(texts)](std::int64_t byteCount) {
    return systemFormattedByteCount(byteCount, texts->language());
  };
}

/// Throws the error that a launch ended with; returns when the installer was started.
struct LaunchOutcome {
  void operator()(const Result::LaunchFailed& failure) const {
    throw VeskUpdateInstallerError::replacementHelperLaunchFailed(failure.diagnostic);
  }
  void operator()(const Result::ProtocolFailure& failure) const {
    throw VeskUpdateInstallerError::replacementHelperProtocolFailure(failure.diagnostic);
  }
  void operator()(const Result::AuthorizationDenied& denial) const {
    throw VeskUpdateInstallerError::authorizationDenied({.status = denial.status, .message = std::nullopt});
  }
  void operator()(const Result::AuthorizationCancelled& cancellation) const {
    throw VeskUpdateInstallerError::authorizationCancelled({.status = cancellation.status, .message = std::nullopt});
  }
  void operator()(const Result::TimedOut& timeout) const {
    throw VeskUpdateInstallerError::replacementHelperLaunchTimedOut(timeout.phase);
  }
  void operator()(const Result::Launched& /*launched*/) const {}
  void operator()(const Result::HelperUnavailable& /*unavailable*/) const {
    throw VeskUpdateInstallerError(Code::replacementHelperUnavailable);
  }
};

}  // namespace

VeskUpdateInstallerCoordinator::VeskUpdateInstallerCoordinator(
    std::shared_ptr<const QuillonFileManaging> fileManager,
    std::shared_ptr<VeskUpdateInstallerNetworkClient> networkClient,
    std::shared_ptr<VeskUpdateArchiveUnzipping> unzipper, std::shared_ptr<VeskUpdateInstallerLaunching> launcher,
    std::shared_ptr<const VeskAppBundleUpdateValidating> appBundleValidator,
    std::shared_ptr<VeskAppBundleUpdateHelperLaunching> replacementLauncher,
    LaunchUserContextProvider launchUserContextProvider, std::shared_ptr<QuillonMainThreadDispatching> mainThread,
    std::shared_ptr<const VeskUpdateProgressWindowPresenter> progressWindowPresenter,
    std::shared_ptr<const VeskUpdateLocalizationBundle> texts, ByteCountFormatter formattedByteCount)
    : fileManager_(std::move(fileManager)),
      networkClient_(std::move(networkClient)),
      unzipper_(std::move(unzipper)),
      launcher_(std::move(launcher)),
      appBundleValidator_(std::move(appBundleValidator)),
      replacementLauncher_(std::move(replacementLauncher)),
      launchUserContextProvider_(std::move(launchUserContextProvider)),
      mainThread_(std::move(mainThread)),
      progressWindowPresenter_(std::move(progressWindowPresenter)),
      texts_(std::move(texts)),
      formattedByteCount_(formattedByteCount ? std::move(formattedByteCount) : byteCountFormatterFor(texts_)) {}

void VeskUpdateInstallerCoordinator::install(const VeskUpdateInstallerRequest& request,
                                             std::shared_ptr<VeskUpdateProgressWindow> progressWindow,
                                             std::stop_token stopToken) const {
  const WindowHold hold(mainThread_, std::move(progressWindow));
  runCancellably(stopToken, [&] { openInstaller(request, hold.window(), stopToken); });
}

void VeskUpdateInstallerCoordinator::install(const VeskAppBundleUpdateRequest& request,
                                             std::shared_ptr<VeskUpdateProgressWindow> progressWindow,
                                             const VeskAppBundleInstallerLaunchProgressHandler& launchProgressHandler,
                                             std::stop_token stopToken) const {
  const WindowHold hold(mainThread_, std::move(progressWindow));
  runCancellably(stopToken, [&] { replaceAppBundle(request, hold.window(), launchProgressHandler, stopToken); });
}

void VeskUpdateInstallerCoordinator::openInstaller(const VeskUpdateInstallerRequest& request, const Window& window,
                                                   const std::stop_token& stopToken) const {
  if (!request.archiveURL) throw VeskUpdateInstallerError(Code::missingArchiveURL);
  VeskUpdateInstallerDownload download =
      downloadArchive(*request.archiveURL, request.fallbackArchiveURL, window, stopToken);
  const std::vector<QuillonURL> folders = {
      preferredInstallerFolderURL(request.applicationName, request.installerSubdirectoryName),
      fileManager_->temporaryDirectory()};
  const ArchivePlacement placement =
      writeArchiveToFirstUsableDestination(*download.data, request.archiveFileName, folders, stopToken);
  download.data.reset();

  unzipArchive(placement, window, stopToken);

  showTitle(window, VeskUpdateTexts::openingInstaller, stopToken);
  throwIfStopRequested(stopToken);
  if (!launcher_->open(installerURL(placement, request.installerFileName))) {
    throw VeskUpdateInstallerError(Code::launchFailed);
  }
}

void VeskUpdateInstallerCoordinator::replaceAppBundle(
    const VeskAppBundleUpdateRequest& request, const Window& window,
    const VeskAppBundleInstallerLaunchProgressHandler& launchProgressHandler, const std::stop_token& stopToken) const {
  if (!request.archiveURL) throw VeskUpdateInstallerError(Code::missingArchiveURL);
  validateReplacementHelperAvailable(request);
  removeUncertainHandOffs(request);
  VeskUpdateInstallerDownload download =
      downloadArchive(*request.archiveURL, request.fallbackArchiveURL, window, stopToken);
  const std::vector<QuillonURL> folders =
      archiveDestinationFolderURLs(request.applicationName, request.installerSubdirectoryName);
  // These folders are of this attempt alone.
  ScopedRemoval foldersRemoval(*fileManager_, folders);
  const ArchivePlacement placement =
      writeArchiveToFirstUsableDestination(*download.data, request.archiveFileName, folders, stopToken);
  download.data.reset();

  unzipArchive(placement, window, stopToken);

  showTitle(window, VeskUpdateTexts::verifyingUpdate, stopToken);
  const QuillonURL staged = findSingleAppBundle(placement.destinationFolderURL, stopToken);
  appBundleValidator_->validateAppBundle(staged, request.hostIdentity, stopToken);
  const std::optional<QuillonURL> reportURL =
      VeskAppBundleUpdateFailureReportStore(fileManager_).reportURL(request.hostIdentity.bundleIdentifier);

  waitForReadyToInstallConfirmation(window, stopToken);

  showTitle(window, VeskUpdateTexts::preparingToInstall, stopToken);
  prepareFailureReportURLForFreshHandoff(reportURL);
  throwIfStopRequested(stopToken);
  const Result result = launchReplacement(request, staged, reportURL, launchProgressHandler);
  if (result.mayHaveLaunched()) foldersRemoval.keepItems();
  try {
    std::visit(LaunchOutcome{}, result.value);
  } catch (const VeskUpdateInstallerError&) {
    if (result.mayHaveLaunched()) VeskUpdateUncertainHandOff::mark(*fileManager_, placement.destinationFolderURL);
    throw;
  }
}

VeskUpdateInstallerDownload VeskUpdateInstallerCoordinator::downloadArchive(
    const QuillonURL& primaryURL, const std::optional<QuillonURL>& fallbackURL, const Window& window,
    const std::stop_token& stopToken) const {
  try {
    return fetchArchive(primaryURL, window, stopToken);
  } catch (const std::exception& error) {
    throwIfCancellation(error, stopToken);
    throwIfNowhereToWrite(error);
  }
  if (!fallbackURL) throw VeskUpdateInstallerError(Code::downloadFailed);
  try {
    return fetchArchive(*fallbackURL, window, stopToken);
  } catch (const std::exception& error) {
    throwIfCancellation(error, stopToken);
    throwIfNowhereToWrite(error);
    throw VeskUpdateInstallerError(Code::downloadFailed);
  }
}

VeskUpdateInstallerDownload VeskUpdateInstallerCoordinator::fetchArchive(const QuillonURL& url, const Window& window,
                                                                         const std::stop_token& stopToken) const {
  if (window) {
    onMainThread(
        *mainThread_,
        [&] {
          progressWindowPresenter_->updateProgressWindow(
              window, {.title = texts_->text(VeskUpdateTexts::downloadingUpdate),
                       .statusText = texts_->text(VeskUpdateTexts::preparingDownload)});
        },
        stopToken);
  }
  /// Whatever the transfer ends with, reports that still wait for the main thread change nothing.
  struct ActiveToken {
    std::shared_ptr<VeskUpdateProgressToken> token = std::make_shared<VeskUpdateProgressToken>();
    ActiveToken() = default;
    ~ActiveToken() { token->deactivate(); }
    ActiveToken(const ActiveToken&) = delete;
    ActiveToken& operator=(const ActiveToken&) = delete;
  };
  const ActiveToken active;
  throwIfStopRequested(stopToken);
  VeskUpdateInstallerDownload download =
      networkClient_->data(url, downloadProgressHandler(window, active.token), stopToken);
  if (!isSuccess(download.response)) throw VeskUpdateInstallerError(Code::downloadFailed);
  return download;
}

VeskUpdateInstallerDownloadProgressHandler VeskUpdateInstallerCoordinator::downloadProgressHandler(
    const Window& window, const std::shared_ptr<VeskUpdateProgressToken>& token) const {
  if (!window) return {};
  // A report can be handled after the operation, and after this coordinator: it owns all that it uses.
  struct Reporting {
    std::weak_ptr<VeskUpdateProgressWindow> window;
    std::shared_ptr<VeskUpdateProgressToken> token;
    std::shared_ptr<const VeskUpdateProgressWindowPresenter> presenter;
    std::shared_ptr<const VeskUpdateLocalizationBundle> texts;
    ByteCountFormatter formattedByteCount;
  };
  auto reporting = std::make_shared<const Reporting>(
      Reporting{window, token, progressWindowPresenter_, texts_, formattedByteCount_});
  return [reporting, mainThread = mainThread_](const VeskUpdateInstallerDownloadProgress& progress) {
    mainThread->post([reporting, progress] {
      if (!reporting->token->isActive()) return;
      reporting->presenter->updateProgressWindow(
          reporting->window.lock(),
          {.title = reporting->texts->text(VeskUpdateTexts::downloadingUpdate),
           .statusText = downloadProgressStatusText(progress, *reporting->texts, reporting->formattedByteCount),
           .progressFraction = progress.progressFraction()});
    });
  };
}

std::string VeskUpdateInstallerCoordinator::downloadProgressStatusText(
    const VeskUpdateInstallerDownloadProgress& progress, const VeskUpdateLocalizationBundle& texts,
    const ByteCountFormatter& formattedByteCount) {
  const std::string received = formattedByteCount(progress.bytesReceived);
  if (!progress.expectedBytes || *progress.expectedBytes < 1) {
    return formattedText(texts.text(VeskUpdateTexts::received), {received});
  }
  // Never more received than expected, whatever the server announced.
  const std::string expected = formattedByteCount(std::max(*progress.expectedBytes, progress.bytesReceived));
  return formattedText(texts.text(VeskUpdateTexts::receivedOfExpected), {received, expected});
}

QuillonURL VeskUpdateInstallerCoordinator::preferredInstallerFolderURL(
    const std::string& applicationName, const std::string& installerSubdirectoryName) const {
  const std::vector<QuillonURL> applicationSupport = fileManager_->applicationSupportDirectories();
  QuillonURL folder = applicationSupport.empty() ? fileManager_->temporaryDirectory() : applicationSupport.front();
  try {
    folder = fileManager_->resolvingSymbolicLinks(folder);
  } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): a folder that is still to be made has no links
  }
  return appendingLevels(std::move(folder), {applicationName, installerSubdirectoryName});
}

std::vector<QuillonURL> VeskUpdateInstallerCoordinator::archiveDestinationFolderURLs(
    const std::string& applicationName, const std::string& installerSubdirectoryName) const {
  return {
      preferredInstallerFolderURL(applicationName, installerSubdirectoryName).appendingPathComponent(makeUUIDString()),
      appendingLevels(fileManager_->temporaryDirectory(),
                      {applicationName, installerSubdirectoryName, makeUUIDString()})};
}

VeskUpdateInstallerCoordinator::ArchivePlacement VeskUpdateInstallerCoordinator::writeArchiveToFirstUsableDestination(
    VeskUpdateInstallerDownloadedData& data, const std::string& archiveFileName, const std::vector<QuillonURL>& folders,
    const std::stop_token& stopToken) const {
  const std::string_view name = archiveFileName.empty() ? kUnnamedArchiveFileName : archiveFileName;
  if (!isSinglePathComponent(name)) throw VeskUpdateInstallerError(Code::writeFailed);
  for (const QuillonURL& folder : folders) {
    throwIfStopRequested(stopToken);
    if (!VeskUpdateWorkingFolderSafety::canBeMadeOutOfOthersReach(*fileManager_, folder)) continue;
    const QuillonURL archive = folder.appendingPathComponent(name);
    removeFileIgnoringErrors(*fileManager_, archive);
    try {
      fileManager_->createDirectory(folder);
      if (!VeskUpdateWorkingFolderSafety::isOutOfOthersReach(*fileManager_, folder)) continue;
      data.writeAtomically(*fileManager_, archive, stopToken);
      return {.archiveURL = archive, .destinationFolderURL = folder};
    } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): the next folder may be better
    }
  }
  throw VeskUpdateInstallerError(Code::writeFailed);
}

/// The archive is gone afterwards, whatever comes of it.
void VeskUpdateInstallerCoordinator::unzipArchive(const ArchivePlacement& placement, const Window& window,
                                                  const std::stop_token& stopToken) const {
  const ScopedRemoval archiveRemoval(*fileManager_, {placement.archiveURL});
  showTitle(window, VeskUpdateTexts::extractingUpdate, stopToken);
  throwIfStopRequested(stopToken);
  if (!unzipper_->unzip(placement.archiveURL.path(), placement.destinationFolderURL.path(), stopToken)) {
    throw VeskUpdateInstallerError(Code::unzipFailed);
  }
}

/// Throws launchFailed for a document that is not in the unpacked folder, or that somebody else can have put there.
QuillonURL VeskUpdateInstallerCoordinator::installerURL(const ArchivePlacement& placement,
                                                        const std::string& installerFileName) const {
  if (!isSinglePathComponent(installerFileName)) throw VeskUpdateInstallerError(Code::launchFailed);
  QuillonURL installer = placement.destinationFolderURL.appendingPathComponent(installerFileName);
  try {
    const std::optional<QuillonFileStatus> status = fileManager_->itemStatus(installer);
    const bool isLink = status && status->type == QuillonFileType::symbolicLink;
    const QuillonURL document = isLink ? fileManager_->resolvingSymbolicLinks(installer) : installer;
    if (isLink && !VeskAppBundleFileSafety::contains(
                      fileManager_->resolvingSymbolicLinks(placement.destinationFolderURL).path(), document.path())) {
      throw VeskUpdateInstallerError(Code::launchFailed);
    }
    if (!VeskUpdateWorkingFolderSafety::isOutOfOthersReach(*fileManager_, document)) {
      throw VeskUpdateInstallerError(Code::launchFailed);
    }
  } catch (const QuillonSystemError&) {
    throw VeskUpdateInstallerError(Code::launchFailed);
  }
  return installer;
}

/// Looks at every depth, but not inside application bundles, whose helper applications are parts of them. A folder
/// below that is closed to its own user holds nothing that could be installed, and is passed over.
QuillonURL VeskUpdateInstallerCoordinator::findSingleAppBundle(const QuillonURL& folder,
                                                               const std::stop_token& stopToken) const {
  std::optional<QuillonURL> found;
  std::vector<QuillonURL> waiting = {folder};
  while (!waiting.empty()) {
    throwIfStopRequested(stopToken);
    const QuillonURL current = std::move(waiting.back());
    waiting.pop_back();
    const std::optional<std::vector<std::string>> names = namesIn(*fileManager_, current);
    if (!names && current == folder) throw VeskUpdateInstallerError::invalidArchive();
    for (const std::string& name : names.value_or(std::vector<std::string>())) {
      if (current == folder && name == kAttributeFolderName) continue;
      QuillonURL item = current.appendingPathComponent(name);
      if (!equalIgnoringCase(item.pathExtension(), kBundleExtension)) {
        if (isRealDirectory(*fileManager_, item)) waiting.push_back(std::move(item));
        continue;
      }
      std::optional<QuillonURL> bundle = VeskAppBundleFileSafety::realDirectoryAppBundle(*fileManager_, item, folder);
      if (bundle && found) throw VeskUpdateInstallerError(Code::multipleAppBundlesFound);
      if (bundle) found = std::move(bundle);
    }
  }
  if (!found) throw VeskUpdateInstallerError(Code::noAppBundleFound);
  return *found;
}

/// Before anything is downloaded: what they occupy may be needed. Whoever tries again was told that they failed.
void VeskUpdateInstallerCoordinator::removeUncertainHandOffs(const VeskAppBundleUpdateRequest& request) const noexcept {
  // Without a name the folders lie among those of others, whose marks must remove nothing.
  if (request.applicationName.empty() && request.installerSubdirectoryName.empty()) return;
  try {
    for (const QuillonURL& folder :
         archiveDestinationFolderURLs(request.applicationName, request.installerSubdirectoryName)) {
      VeskUpdateUncertainHandOff::removeMarkedFolders(*fileManager_, folder.deletingLastPathComponent());
    }
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a folder without location holds none
  }
}

void VeskUpdateInstallerCoordinator::validateReplacementHelperAvailable(
    const VeskAppBundleUpdateRequest& request) const {
  if (request.helperExecutableURL && fileManager_->isExecutableFile(*request.helperExecutableURL)) return;
  throw VeskUpdateInstallerError(Code::replacementHelperUnavailable);
}

void VeskUpdateInstallerCoordinator::waitForReadyToInstallConfirmation(const Window& window,
                                                                       const std::stop_token& stopToken) const {
  if (!window) return;
  const auto confirmation = std::make_shared<VeskUpdateReadyInstallConfirmation>();
  const auto end = std::make_shared<std::promise<void>>();
  const std::stop_callback cancellation(
      stopToken, [&confirmation] { confirmation->resolve(std::make_exception_ptr(QuillonCancellationError())); });
  confirmation->setContinuation([end](const std::exception_ptr& error) {
    if (error) {
      end->set_exception(error);
    } else {
      end->set_value();
    }
  });
  onMainThread(
      *mainThread_,
      [&] {
        progressWindowPresenter_->showReadyToInstallAndRelaunch(window, texts_->text(VeskUpdateTexts::readyToInstall),
                                                                texts_->text(VeskUpdateTexts::installAndRelaunch),
                                                                [confirmation] { confirmation->resolve(); });
      },
      stopToken);
  end->get_future().get();
}

void VeskUpdateInstallerCoordinator::prepareFailureReportURLForFreshHandoff(
    const std::optional<QuillonURL>& reportURL) const {
  if (!reportURL) return;
  try {
    if (fileManager_->itemStatus(*reportURL)) fileManager_->removeItem(*reportURL);
  } catch (const QuillonSystemError&) {
    if (fileManager_->fileExists(*reportURL)) throw VeskUpdateInstallerError::replacementLaunchFailed();
  }
  try {
    fileManager_->createDirectory(reportURL->deletingLastPathComponent());
  } catch (
      const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): the installer makes the folder, or does without
  }
}

VeskAppBundleReplacementLaunchResult VeskUpdateInstallerCoordinator::launchReplacement(
    const VeskAppBundleUpdateRequest& request, const QuillonURL& stagedApplicationURL,
    const std::optional<QuillonURL>& reportURL,
    const VeskAppBundleInstallerLaunchProgressHandler& launchProgressHandler) const {
  const VeskAppBundleReplacementRequest replacement = {
      .stagedApplicationURL = stagedApplicationURL,
      .installedApplicationURL = request.installedApplicationURL,
      .helperExecutableURL = request.helperExecutableURL,
      .hostIdentity = request.hostIdentity,
      .shouldRequestAuthorizationIfNeeded = true,
      .launchUserContext = launchUserContextProvider_ ? launchUserContextProvider_() : std::nullopt,
      .failureReportURL = reportURL,
      .failureReportAttemptIdentifier = request.failureReportAttemptIdentifier,
  };
  return replacementLauncher_->launchReplacement(
      replacement, launchProgressHandler ? launchProgressHandler : [](const VeskAppBundleInstallerLaunchProgress&) {});
}

void VeskUpdateInstallerCoordinator::showTitle(const Window& window, const VeskUpdateText& title,
                                               const std::stop_token& stopToken) const {
  if (!window) return;
  onMainThread(
      *mainThread_, [&] { progressWindowPresenter_->updateProgressWindow(window, {.title = texts_->text(title)}); },
      stopToken);
}

}  // namespace quillon
