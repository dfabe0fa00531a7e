#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionDownloadDelegate.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonURLError.h"

namespace quillon {
namespace {

/// The error of a transfer whose bytes could not be kept. Too much for memory says nothing about room for files.
QuillonURLError cannotKeep(const QuillonSystemError& error) {
  const bool isTooLong = error.isPOSIX(EFBIG) || error.isPOSIX(ENOMEM);
  return {isTooLong ? QuillonURLErrorCode::dataLengthExceedsMaximum : QuillonURLErrorCode::cannotWriteToFile,
          error.description()};
}

void requireAcceptable(std::uint64_t bytes) {
  constexpr std::uint64_t kLimit = VeskUpdateURLSessionDownloadDelegate::kMaximumBytes;
  if (bytes > kLimit) {
    throw QuillonURLError(QuillonURLErrorCode::dataLengthExceedsMaximum,
                          "The download has more than " + std::to_string(kLimit) + " bytes");
  }
}

}  // namespace

VeskUpdateURLSessionDownloadDelegate::VeskUpdateURLSessionDownloadDelegate(
    VeskUpdateInstallerDownloadProgressHandler progressHandler,
    std::unique_ptr<VeskUpdateInstallerDownloadBuffer> downloadedData,
    std::promise<VeskUpdateInstallerDownload>& continuation, std::stop_token stopToken)
    : progressHandler_(std::move(progressHandler)),
      continuation_(continuation),
      stopToken_(std::move(stopToken)),
      downloadedData_(std::move(downloadedData)) {}

void VeskUpdateURLSessionDownloadDelegate::didReceiveResponse(const QuillonURLResponse& response) {
  if (didResumeContinuation_) return;
  response_ = response;
  expectedBytes_.reset();
  if (response.expectedContentLength >= 1) expectedBytes_ = response.expectedContentLength;
  const auto announced = static_cast<std::uint64_t>(expectedBytes_.value_or(0));
  requireAcceptable(announced);
  try {
    downloadedData_->reserve(std::min(announced, kMaximumReservedBytes));
  } catch (const QuillonSystemError& error) {
    throw cannotKeep(error);
  }
  reportProgress(0);
}

void VeskUpdateURLSessionDownloadDelegate::didReceiveData(std::string_view bytes) {
  if (didResumeContinuation_) return;
  requireAcceptable(downloadedData_->size() + bytes.size());
  try {
    downloadedData_->append(bytes, stopToken_);
  } catch (const QuillonSystemError& error) {
    throw cannotKeep(error);
  } catch (const QuillonCancellationError&) {
    throw QuillonURLError(QuillonURLErrorCode::cancelled, "The download was cancelled");
  }
  reportProgress(static_cast<std::int64_t>(downloadedData_->size()));
}

void VeskUpdateURLSessionDownloadDelegate::didComplete(std::exception_ptr error) {
  if (!error && !response_) {
    error = std::make_exception_ptr(
        QuillonURLError(QuillonURLErrorCode::badServerResponse, "The transfer ended without a response"));
  }
  finish(std::move(error));
}

void VeskUpdateURLSessionDownloadDelegate::finish(std::exception_ptr error) {
  if (std::exchange(didResumeContinuation_, true)) return;
  if (error) {
    continuation_.set_exception(std::move(error));
  } else {
    continuation_.set_value({.data = std::move(downloadedData_), .response = *std::move(response_)});
  }
}

void VeskUpdateURLSessionDownloadDelegate::reportProgress(std::int64_t bytesReceived) const {
  if (progressHandler_) progressHandler_({.bytesReceived = bytesReceived, .expectedBytes = expectedBytes_});
}

}  // namespace quillon
