#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"

#include <algorithm>
#include <span>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Linux/VeskUpdateInstallerDownloadFile.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"

namespace quillon {
namespace {

using Buffer = VeskUpdateInstallerDownloadBuffer;

/// The places that are left for a download.
struct SpoolPlaces {
  std::span<const QuillonURL> folders;
  /// After the folders. An archive that no folder takes while it arrives can still have a place once it is whole: not
  /// every volume has files without names, and a folder that is missing is made.
  bool takesMemory = false;
};

/// The first of `places` that takes a download; null when none does.
std::unique_ptr<Buffer> makeBuffer(SpoolPlaces places);

/// A download in a file that may come to the end of its volume: what is there goes on to the next place then.
class SpooledDownload final : public Buffer {
 public:
  SpooledDownload(std::unique_ptr<VeskUpdateInstallerDownloadFile> file, SpoolPlaces others)
      : file_(std::move(file)),
        otherFolders_(others.folders.begin(), others.folders.end()),
        takesMemory_(others.takesMemory) {}

  void reserve(std::uint64_t bytes) override {
    reserved_ = bytes;
    if (next_) return next_->reserve(bytes);
    try {
      file_->reserve(bytes);
    } catch (const QuillonSystemError&) {
      if (!moveOn({})) throw;
    }
  }

  void append(std::string_view bytes, const std::stop_token& stopToken) override {
    if (next_) return next_->append(bytes, stopToken);
    const std::uint64_t sizeBefore = file_->size();
    try {
      file_->append(bytes, stopToken);
    } catch (const QuillonSystemError&) {
      bytes.remove_prefix(static_cast<std::size_t>(file_->size() - sizeBefore));
      if (!moveOn(stopToken)) throw;
      next_->append(bytes, stopToken);
    }
  }

  [[nodiscard]] std::uint64_t size() const noexcept override { return next_ ? next_->size() : file_->size(); }

  void writeAtomically(const QuillonFileManaging& fileManager, const QuillonURL& file,
                       const std::stop_token& stopToken) override {
    Buffer& kept = next_ ? *next_ : *file_;
    kept.writeAtomically(fileManager, file, stopToken);
  }

 private:
  /// False when there is no other place, or none that has room.
  [[nodiscard]] bool moveOn(const std::stop_token& stopToken) {
    try {
      std::unique_ptr<Buffer> next = makeBuffer({.folders = otherFolders_, .takesMemory = takesMemory_});
      if (!next) return false;
      next->reserve(std::max(reserved_, file_->size()));
      file_->copyTo(*next, stopToken);
      next_ = std::move(next);
      file_.reset();
      return true;
    } catch (const QuillonSystemError&) {
      return false;
    }
  }

  std::unique_ptr<VeskUpdateInstallerDownloadFile> file_;  // null once there is a next place
  std::unique_ptr<Buffer> next_;
  const std::vector<QuillonURL> otherFolders_;
  const bool takesMemory_;
  std::uint64_t reserved_ = 0;
};

std::unique_ptr<Buffer> makeBuffer(SpoolPlaces places) {
  while (!places.folders.empty()) {
    auto file = VeskUpdateInstallerDownloadFile::make(places.folders.front());
    places.folders = places.folders.subspan(1);
    if (file) return std::make_unique<SpooledDownload>(std::move(file), places);
    places.takesMemory = true;
  }
  if (places.takesMemory) return std::make_unique<VeskUpdateInstallerDownloadMemory>();
  return nullptr;
}

}  // namespace

std::unique_ptr<VeskUpdateInstallerDownloadBuffer> makeSystemDownloadBuffer(
    const std::vector<QuillonURL>& spoolFolders) {
  return makeBuffer({.folders = spoolFolders, .takesMemory = spoolFolders.empty()});
}

}  // namespace quillon
