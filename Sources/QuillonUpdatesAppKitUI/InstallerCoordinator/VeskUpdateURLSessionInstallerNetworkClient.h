#pragma once

#include <memory>

#include "QuillonCore/Network/QuillonURLTransferring.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerNetworkClient.h"

namespace quillon {

/// Fetches archives through the platform's URL loading, one task for each call. The progress handler is called on the
/// thread that the transfer delivers on, one call at a time: on Linux that of the call, on macOS one of the session's.
class VeskUpdateURLSessionInstallerNetworkClient final : public VeskUpdateInstallerNetworkClient {
 public:
  /// Neither is null; `makeDownloadBuffer` is called by any thread that calls data().
  VeskUpdateURLSessionInstallerNetworkClient(std::shared_ptr<const QuillonURLTransferring> transfers,
                                             VeskUpdateInstallerDownloadBufferMaking makeDownloadBuffer);

  [[nodiscard]] VeskUpdateInstallerDownload data(const QuillonURL& url,
                                                 const VeskUpdateInstallerDownloadProgressHandler& progressHandler,
                                                 std::stop_token stopToken) override;

 private:
  const std::shared_ptr<const QuillonURLTransferring> transfers_;
  const VeskUpdateInstallerDownloadBufferMaking makeDownloadBuffer_;
};

}  // namespace quillon
