#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleLaunchdUserContext.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateRequest.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateValidating.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateArchiveUnzipping.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadedData.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerLaunching.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerNetworkClient.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerRequest.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateProgressToken.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindow.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowPresenter.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateTexts.h"

namespace quillon {

/// Downloads an update, unpacks it and hands it on: to the system as an installer document, or to the installer command
/// as an application bundle that takes the host's place.
///
/// Each operation returns when it is done, or throws one VeskUpdateInstallerError, the first that occurs; only the
/// download is tried a second time. After a stop request it throws QuillonCancellationError instead, promptly, unless
/// the update has been handed on by then. A launcher that waits for the administrator cannot be interrupted: the stop
/// takes effect when it answers.
///
/// The operations block, so never on the main thread; several may run at once. The progress window, where one is
/// given, is touched and let go of on the main thread only, and never closed. A main thread that waits for an operation
/// must request its stop first.
class VeskUpdateInstallerCoordinator {
 public:
  /// The user in whose session the new bundle is started.
  using LaunchUserContextProvider = std::function<std::optional<VeskAppBundleLaunchdUserContext>()>;
  /// A number of bytes as users read it. Called on the main thread; must not throw. Without one, sizes are those of
  /// systemFormattedByteCount() in the language of the texts.
  using ByteCountFormatter = std::function<std::string(std::int64_t byteCount)>;

  VeskUpdateInstallerCoordinator(std::shared_ptr<const QuillonFileManaging> fileManager,
                                 std::shared_ptr<VeskUpdateInstallerNetworkClient> networkClient,
                                 std::shared_ptr<VeskUpdateArchiveUnzipping> unzipper,
                                 std::shared_ptr<VeskUpdateInstallerLaunching> launcher,
                                 std::shared_ptr<const VeskAppBundleUpdateValidating> appBundleValidator,
                                 std::shared_ptr<VeskAppBundleUpdateHelperLaunching> replacementLauncher,
                                 LaunchUserContextProvider launchUserContextProvider,
                                 std::shared_ptr<QuillonMainThreadDispatching> mainThread,
                                 std::shared_ptr<const VeskUpdateProgressWindowPresenter> progressWindowPresenter,
                                 std::shared_ptr<const VeskUpdateLocalizationBundle> texts,
                                 ByteCountFormatter formattedByteCount = nullptr);

  /// Opens the installer document of the archive. The unpacked folder stays, whatever happens; the archive does not.
  void install(const VeskUpdateInstallerRequest& request, std::shared_ptr<VeskUpdateProgressWindow> progressWindow,
               std::stop_token stopToken = {}) const;

  /// Has the application bundle of the archive take the place of the installed one; the installer waits for the host
  /// to quit. With a window this waits for the user's consent. `launchProgressHandler` may be empty; the launcher says
  /// on which thread it is called. The staged bundle stays in a folder of its own when the installer was started or may
  /// have been, in which case the next attempt removes it; otherwise nothing stays.
  void install(const VeskAppBundleUpdateRequest& request, std::shared_ptr<VeskUpdateProgressWindow> progressWindow,
               const VeskAppBundleInstallerLaunchProgressHandler& launchProgressHandler,
               std::stop_token stopToken = {}) const;

 private:
  using Window = std::shared_ptr<VeskUpdateProgressWindow>;

  struct ArchivePlacement {
    QuillonURL archiveURL;
    /// The folder that holds the archive, into which it is unpacked.
    QuillonURL destinationFolderURL;
  };

  void openInstaller(const VeskUpdateInstallerRequest& request, const Window& window,
                     const std::stop_token& stopToken) const;
  void replaceAppBundle(const VeskAppBundleUpdateRequest& request, const Window& window,
                        const VeskAppBundleInstallerLaunchProgressHandler& launchProgressHandler,
                        const std::stop_token& stopToken) const;

  [[nodiscard]] VeskUpdateInstallerDownload downloadArchive(const QuillonURL& primaryURL,
                                                            const std::optional<QuillonURL>& fallbackURL,
                                                            const Window& window,
                                                            const std::stop_token& stopToken) const;
  [[nodiscard]] VeskUpdateInstallerDownload fetchArchive(const QuillonURL& url, const Window& window,
                                                         const std::stop_token& stopToken) const;
  [[nodiscard]] VeskUpdateInstallerDownloadProgressHandler downloadProgressHandler(
      const Window& window, const std::shared_ptr<VeskUpdateProgressToken>& token) const;
  [[nodiscard]] static std::string downloadProgressStatusText(const VeskUpdateInstallerDownloadProgress& progress,
                                                              const VeskUpdateLocalizationBundle& texts,
                                                              const ByteCountFormatter& formattedByteCount);

  [[nodiscard]] QuillonURL preferredInstallerFolderURL(const std::string& applicationName,
                                                       const std::string& installerSubdirectoryName) const;
  [[nodiscard]] std::vector<QuillonURL> archiveDestinationFolderURLs(
      const std::string& applicationName, const std::string& installerSubdirectoryName) const;
  [[nodiscard]] ArchivePlacement writeArchiveToFirstUsableDestination(VeskUpdateInstallerDownloadedData& data,
                                                                      const std::string& archiveFileName,
                                                                      const std::vector<QuillonURL>& folders,
                                                                      const std::stop_token& stopToken) const;
  void unzipArchive(const ArchivePlacement& placement, const Window& window, const std::stop_token& stopToken) const;
  [[nodiscard]] QuillonURL installerURL(const ArchivePlacement& placement, const std::string& installerFileName) const;
  [[nodiscard]] QuillonURL findSingleAppBundle(const QuillonURL& folder, const std::stop_token& stopToken) const;

  void removeUncertainHandOffs(const VeskAppBundleUpdateRequest& request) const noexcept;
  void validateReplacementHelperAvailable(const VeskAppBundleUpdateRequest& request) const;
  void waitForReadyToInstallConfirmation(const Window& window, const std::stop_token& stopToken) const;
  void prepareFailureReportURLForFreshHandoff(const std::optional<QuillonURL>& reportURL) const;
  [[nodiscard]] VeskAppBundleReplacementLaunchResult launchReplacement(
      const VeskAppBundleUpdateRequest& request, const QuillonURL& stagedApplicationURL,
      const std::optional<QuillonURL>& reportURL,
      const VeskAppBundleInstallerLaunchProgressHandler& launchProgressHandler) const;

  void showTitle(const Window& window, const VeskUpdateText& title, const std::stop_token& stopToken) const;

  const std::shared_ptr<const QuillonFileManaging> fileManager_;
  const std::shared_ptr<VeskUpdateInstallerNetworkClient> networkClient_;
  const std::shared_ptr<VeskUpdateArchiveUnzipping> unzipper_;
  const std::shared_ptr<VeskUpdateInstallerLaunching> launcher_;
  const std::shared_ptr<const VeskAppBundleUpdateValidating> appBundleValidator_;
  const std::shared_ptr<VeskAppBundleUpdateHelperLaunching> replacementLauncher_;
  const LaunchUserContextProvider launchUserContextProvider_;
  const std::shared_ptr<QuillonMainThreadDispatching> mainThread_;
  const std::shared_ptr<const VeskUpdateProgressWindowPresenter> progressWindowPresenter_;
  const std::shared_ptr<const VeskUpdateLocalizationBundle> texts_;
  const ByteCountFormatter formattedByteCount_;
};

}  // namespace quillon
