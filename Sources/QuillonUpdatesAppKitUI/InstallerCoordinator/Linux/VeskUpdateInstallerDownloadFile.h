#pragma once

#include <memory>
#include <string>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Posix/AtomicFilePlacement.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"

namespace quillon {

/// Keeps a download in a file without name (O_TMPFILE of open(2)).
class VeskUpdateInstallerDownloadFile final : public VeskUpdateInstallerDownloadBuffer {
 public:
  /// Null where `folder` takes no such file: it is missing or closed to this process, or its volume has none.
  [[nodiscard]] static std::unique_ptr<VeskUpdateInstallerDownloadFile> make(const QuillonURL& folder);

  void reserve(std::uint64_t bytes) override;
  void append(std::string_view bytes, const std::stop_token& stopToken) override;
  [[nodiscard]] std::uint64_t size() const noexcept override { return size_; }
  /// Appends all that is there to `buffer`. Throws what that throws, and QuillonCancellationError promptly after a stop
  /// request.
  void copyTo(VeskUpdateInstallerDownloadBuffer& buffer, const std::stop_token& stopToken) const;
  /// Gives the file its name on the volume of its folder, and copies it to others. Nothing is flushed to disk: what a
  /// power cut leaves of an archive nobody reads.
  void writeAtomically(const QuillonFileManaging& fileManager, const QuillonURL& file,
                       const std::stop_token& stopToken) override;

 private:
  VeskUpdateInstallerDownloadFile(FileDescriptor descriptor, std::string folder);
  /// Whether the file has got its other name; otherwise its bytes must be copied there.
  [[nodiscard]] bool link(const AtomicFilePlacement& placement, const QuillonURL& file) const;
  void copy(const AtomicFilePlacement& placement, const QuillonURL& file, const std::stop_token& stopToken) const;

  FileDescriptor descriptor_;
  const std::string folder_;  // for messages
  std::uint64_t size_ = 0;
};

}  // namespace quillon
