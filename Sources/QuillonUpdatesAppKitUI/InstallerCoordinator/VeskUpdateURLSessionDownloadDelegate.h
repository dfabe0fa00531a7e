#pragma once

#include <cstdint>
#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>
#include <string_view>

#include "QuillonCore/Network/QuillonURLTransferring.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerNetworkClient.h"

namespace quillon {

/// Gathers one download, reports its progress, and resumes who waits for it exactly once.
///
/// Used by one thread at a time: the one that the transfer delivers on, and when that is over the one that ran it.
class VeskUpdateURLSessionDownloadDelegate final : public QuillonURLTransferReceiving {
 public:
  /// The most that a download may have.
  static constexpr std::uint64_t kMaximumBytes = std::uint64_t{16} * 1024 * 1024 * 1024;
  /// The most that is set aside because a server announced it.
  static constexpr std::uint64_t kMaximumReservedBytes = std::uint64_t{4} * 1024 * 1024 * 1024;

  /// `progressHandler` may be empty; `downloadedData` is empty and not null. `continuation` gets the download or the
  /// error, and outlives this object. `stopToken` is that of the transfer.
  VeskUpdateURLSessionDownloadDelegate(VeskUpdateInstallerDownloadProgressHandler progressHandler,
                                       std::unique_ptr<VeskUpdateInstallerDownloadBuffer> downloadedData,
                                       std::promise<VeskUpdateInstallerDownload>& continuation,
                                       std::stop_token stopToken);

  /// Throws QuillonURLError: `dataLengthExceedsMaximum`, and `cannotWriteToFile` when there is no space for what is
  /// announced.
  void didReceiveResponse(const QuillonURLResponse& response) override;
  /// Throws the same, and `cancelled` when a stop was requested while the bytes were put away.
  void didReceiveData(std::string_view bytes) override;
  /// The transfer is over: with `error`, or well if that is null. Without a response the error is `badServerResponse`.
  void didComplete(std::exception_ptr error);

 private:
  /// Does nothing once the continuation was resumed.
  void finish(std::exception_ptr error);
  void reportProgress(std::int64_t bytesReceived) const;

  const VeskUpdateInstallerDownloadProgressHandler progressHandler_;
  std::promise<VeskUpdateInstallerDownload>& continuation_;
  const std::stop_token stopToken_;
  std::unique_ptr<VeskUpdateInstallerDownloadBuffer> downloadedData_;
  std::optional<QuillonURLResponse> response_;
  std::optional<std::int64_t> expectedBytes_;
  bool didResumeContinuation_ = false;
};

}  // namespace quillon
