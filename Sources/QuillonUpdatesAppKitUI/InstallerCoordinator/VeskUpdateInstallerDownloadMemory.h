#pragma once

#include <string>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"

namespace quillon {

/// Keeps a download in memory, where no file can be had.
class VeskUpdateInstallerDownloadMemory final : public VeskUpdateInstallerDownloadBuffer {
 public:
  static constexpr std::uint64_t kDefaultMaximumBytes = std::uint64_t{1024} * 1024 * 1024;

  explicit VeskUpdateInstallerDownloadMemory(std::uint64_t maximumBytes = kDefaultMaximumBytes);

  void reserve(std::uint64_t bytes) override;
  void append(std::string_view bytes, const std::stop_token& stopToken) override;
  [[nodiscard]] std::uint64_t size() const noexcept override { return bytes_.size(); }
  void writeAtomically(const QuillonFileManaging& fileManager, const QuillonURL& file,
                       const std::stop_token& stopToken) override;

 private:
  void requireRoom(std::uint64_t bytes) const;

  const std::uint64_t maximumBytes_;
  std::string bytes_;
};

}  // namespace quillon
