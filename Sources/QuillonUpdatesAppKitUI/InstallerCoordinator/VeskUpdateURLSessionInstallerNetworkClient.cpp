#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionInstallerNetworkClient.h"

#include <exception>
#include <future>
#include <utility>

#include "QuillonCore/Network/QuillonURLDataTask.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionDownloadDelegate.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionDownloadTaskBox.h"

namespace quillon {
namespace {

/// What ended the task; null when all went well.
std::exception_ptr resume(QuillonURLDataTask& task, QuillonURLTransferReceiving& receiver) noexcept {
  try {
    task.resume(receiver);
    return nullptr;
  } catch (...) {
    return std::current_exception();
  }
}

}  // namespace

VeskUpdateURLSessionInstallerNetworkClient::VeskUpdateURLSessionInstallerNetworkClient(
    std::shared_ptr<const QuillonURLTransferring> transfers, VeskUpdateInstallerDownloadBufferMaking makeDownloadBuffer)
    : transfers_(std::move(transfers)), makeDownloadBuffer_(std::move(makeDownloadBuffer)) {}

VeskUpdateInstallerDownload VeskUpdateURLSessionInstallerNetworkClient::data(
    const QuillonURL& url, const VeskUpdateInstallerDownloadProgressHandler& progressHandler,
    std::stop_token stopToken) {
  VeskUpdateURLSessionDownloadTaskBox box;
  const std::stop_callback cancelTask(stopToken, [&box] { box.cancel(); });
  std::promise<VeskUpdateInstallerDownload> continuation;
  VeskUpdateURLSessionDownloadDelegate delegate(progressHandler, makeDownloadBuffer_(), continuation,
                                                std::move(stopToken));
  const auto task = std::make_shared<QuillonURLDataTask>(transfers_, QuillonURLRequest{.url = url});
  box.store(task);
  delegate.didComplete(resume(*task, delegate));
  return continuation.get_future().get();
}

}  // namespace quillon
