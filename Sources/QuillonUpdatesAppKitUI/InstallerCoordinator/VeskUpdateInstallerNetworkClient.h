#pragma once

#include <functional>
#include <memory>
#include <stop_token>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonCore/Values/QuillonURLResponse.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadProgress.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadedData.h"

namespace quillon {

/// Hears of every chunk of a download, and once of the response with 0 bytes. Called on a thread of the client; must
/// not throw and hands work to the main thread itself. Never called after the call that it belongs to has ended.
using VeskUpdateInstallerDownloadProgressHandler = std::function<void(const VeskUpdateInstallerDownloadProgress&)>;

/// A downloaded archive and the response that it came with.
struct VeskUpdateInstallerDownload {
  /// Never null.
  std::unique_ptr<VeskUpdateInstallerDownloadedData> data;
  QuillonURLResponse response;
};

/// Fetches update archives.
class VeskUpdateInstallerNetworkClient {
 public:
  virtual ~VeskUpdateInstallerNetworkClient() = default;

  /// Returns when all of `url` has arrived, whatever the status code. Blocks, so never on the main thread; calls may
  /// run on several threads at once. `progressHandler` may be empty. Throws the QuillonURLError of the transport; its
  /// code is `cancelled` promptly after a stop was requested.
  [[nodiscard]] virtual VeskUpdateInstallerDownload data(
      const QuillonURL& url, const VeskUpdateInstallerDownloadProgressHandler& progressHandler,
      std::stop_token stopToken) = 0;
};

}  // namespace quillon
