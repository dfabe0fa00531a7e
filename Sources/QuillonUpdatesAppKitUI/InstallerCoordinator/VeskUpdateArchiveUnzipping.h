#pragma once

#include <stop_token>
#include <string>

namespace quillon {

/// Unpacks update archives.
class VeskUpdateArchiveUnzipping {
 public:
  virtual ~VeskUpdateArchiveUnzipping() = default;

  /// Extracts the zip archive at `archivePath` into the folder `destinationPath`. True when all of it is there. Blocks
  /// until the work is done or, after a stop was requested, given up with false; never on the main thread.
  [[nodiscard]] virtual bool unzip(const std::string& archivePath, const std::string& destinationPath,
                                   std::stop_token stopToken = {}) noexcept = 0;
};

}  // namespace quillon
