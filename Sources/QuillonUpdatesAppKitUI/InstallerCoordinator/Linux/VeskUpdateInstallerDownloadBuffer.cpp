#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"

#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Linux/VeskUpdateInstallerDownloadFile.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"

namespace quillon {
namespace {

/// A file in a folder that can be too full for the download: it goes to the next place then.
class SpooledDownload final : public VeskUpdateInstallerDownloadBuffer {
 public:
  SpooledDownload(std::unique_ptr<VeskUpdateInstallerDownloadBuffer> first, std::vector<QuillonURL> otherFolders)
      : kept_(std::move(first)), otherFolders_(std::move(otherFolders)) {}

  void reserve(std::uint64_t bytes) override {
    try {
      kept_->reserve(bytes);
    } catch (const QuillonSystemError&) {
      if (kept_->size() > 0 || otherFolders_.empty()) throw;
      kept_ = makeSystemDownloadBuffer(std::exchange(otherFolders_, {}));
      kept_->reserve(bytes);
    }
  }
  void append(std::string_view bytes, const std::stop_token& stopToken) override { kept_->append(bytes, stopToken); }
  [[nodiscard]] std::uint64_t size() const noexcept override { return kept_->size(); }
  void writeAtomically(const QuillonFileManaging& fileManager, const QuillonURL& file,
                       const std::stop_token& stopToken) override {
    kept_->writeAtomically(fileManager, file, stopToken);
  }

 private:
  std::unique_ptr<VeskUpdateInstallerDownloadBuffer> kept_;
  std::vector<QuillonURL> otherFolders_;
};

}  // namespace

std::unique_ptr<VeskUpdateInstallerDownloadBuffer> makeSystemDownloadBuffer(
    const std::vector<QuillonURL>& spoolFolders) {
  for (auto folder = spoolFolders.begin(); folder != spoolFolders.end(); ++folder) {
    std::unique_ptr<VeskUpdateInstallerDownloadBuffer> file = VeskUpdateInstallerDownloadFile::make(*folder);
    if (!file) continue;
    std::vector<QuillonURL> others(folder + 1, spoolFolders.end());
    if (others.empty()) return file;
    return std::make_unique<SpooledDownload>(std::move(file), std::move(others));
  }
  return std::make_unique<VeskUpdateInstallerDownloadMemory>();
}

}  // namespace quillon
