#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <string_view>
#include <vector>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadedData.h"

namespace quillon {

/// Takes the bytes of a download as they arrive. Used by one thread at a time.
class VeskUpdateInstallerDownloadBuffer : public VeskUpdateInstallerDownloadedData {
 public:
  /// Sets space aside for `bytes` in all, where that can be done. Throws QuillonSystemError when there is not so much:
  /// ENOSPC, EDQUOT, ENOMEM, or EFBIG for more than the buffer takes.
  virtual void reserve(std::uint64_t bytes) = 0;
  /// Throws QuillonSystemError: ENOSPC, EDQUOT, ENOMEM, EFBIG. A buffer that has to move what it holds to another place
  /// throws QuillonCancellationError promptly after a stop request.
  virtual void append(std::string_view bytes, const std::stop_token& stopToken) = 0;
};

/// Makes an empty buffer, never null.
using VeskUpdateInstallerDownloadBufferMaking = std::function<std::unique_ptr<VeskUpdateInstallerDownloadBuffer>()>;

/// A buffer in a file without name in the first of `spoolFolders` that takes one, so that its bytes need not be copied
/// to a place on the same volume and nothing is left of it after a crash. What a folder has no room for goes to the
/// next one, with all that is there; and then to memory, if one of them takes no such file. Without room in any, the
/// error is that of the first.
[[nodiscard]] std::unique_ptr<VeskUpdateInstallerDownloadBuffer> makeSystemDownloadBuffer(
    const std::vector<QuillonURL>& spoolFolders);

}  // namespace quillon
