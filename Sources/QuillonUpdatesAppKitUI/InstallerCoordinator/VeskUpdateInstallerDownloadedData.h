#pragma once

#include <cstdint>
#include <stop_token>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// The bytes of a downloaded archive, wherever they are kept. For one thread at a time.
///
/// An archive can be larger than what anybody wants to hold in memory or to copy: an implementation that kept the bytes
/// in a file without name gives that file its name instead.
class VeskUpdateInstallerDownloadedData {
 public:
  virtual ~VeskUpdateInstallerDownloadedData() = default;

  [[nodiscard]] virtual std::uint64_t size() const noexcept = 0;

  /// Puts the bytes at `file` as a whole, replacing what is there (mode 0644): after a failure nothing new is there.
  /// May be called again for another place after a failure. Nothing need be flushed to disk: the archive is unpacked at
  /// once and removed, and nobody reads what a power cut leaves of it. Throws QuillonSystemError, and promptly after a
  /// stop request QuillonCancellationError, unless the bytes are in their place by then.
  virtual void writeAtomically(const QuillonFileManaging& fileManager, const QuillonURL& file,
                               const std::stop_token& stopToken) = 0;
};

}  // namespace quillon
