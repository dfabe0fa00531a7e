#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateSystemInstallerCoordinator.h"

#include <utility>
#include <vector>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSignatureValidator.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateSystemUnzipper.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionInstallerNetworkClient.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateWorkspaceInstallerLauncher.h"

namespace quillon {
namespace {

/// Where the archives are put afterwards, so that on most machines a download lies on its volume already. Looked up for
/// every download: a folder may have come meanwhile.
std::vector<QuillonURL> spoolFolders(const QuillonFileManaging& fileManager) {
  std::vector<QuillonURL> folders = fileManager.applicationSupportDirectories();
  if (folders.size() > 1) folders.erase(folders.begin() + 1, folders.end());
  folders.push_back(fileManager.temporaryDirectory());
  return folders;
}

}  // namespace

VeskUpdateInstallerCoordinator makeSystemInstallerCoordinator(
    std::shared_ptr<VeskAppBundleUpdateHelperLaunching> replacementLauncher,
    std::shared_ptr<QuillonMainThreadDispatching> mainThread,
    std::shared_ptr<const VeskUpdateProgressWindowPresenter> progressWindowPresenter,
    std::shared_ptr<const VeskUpdateLocalizationBundle> texts,
    const std::shared_ptr<const QuillonFileManaging>& fileManager,
    std::shared_ptr<const QuillonURLTransferring> transfers) {
  auto networkClient = std::make_shared<VeskUpdateURLSessionInstallerNetworkClient>(
      std::move(transfers), [fileManager] { return makeSystemDownloadBuffer(spoolFolders(*fileManager)); });
  return {fileManager,
          std::move(networkClient),
          std::make_shared<VeskUpdateSystemUnzipper>(),
          std::make_shared<VeskUpdateWorkspaceInstallerLauncher>(),
          std::make_shared<const VeskAppBundleCodeSignatureValidator>(fileManager),
          std::move(replacementLauncher),
          VeskAppBundleLaunchdUserContext::currentProcess,
          std::move(mainThread),
          std::move(progressWindowPresenter),
          std::move(texts)};
}

}  // namespace quillon
