#pragma once

#include <memory>
#include <optional>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// The bundle that is about to be moved to the installed path: the staged one itself, or a copy of it in a folder
/// beside the destination that only this user can enter.
///
/// A privileged replacement always works on a copy of its own: whoever staged the bundle may still hold its files open
/// for writing, which no change of owner takes away. So does one from another volume, which cannot be renamed from.
class VeskAppBundleReplacementCandidate {
 public:
  /// The staged bundle itself.
  [[nodiscard]] static VeskAppBundleReplacementCandidate inPlace(std::shared_ptr<const QuillonFileManaging> fileManager,
                                                                 QuillonURL staged);
  /// A copy beside `installed`. Throws what the file system throws, and leaves nothing behind then.
  [[nodiscard]] static VeskAppBundleReplacementCandidate copiedBeside(
      std::shared_ptr<const QuillonFileManaging> fileManager, QuillonURL staged, const QuillonURL& installed);

  /// Removes the copies that killed replacements of `installed` by this user left beside it. Errors are ignored.
  static void removeAbandonedCopies(const QuillonFileManaging& fileManager, const QuillonURL& installed) noexcept;

  VeskAppBundleReplacementCandidate(VeskAppBundleReplacementCandidate&&) noexcept = default;
  VeskAppBundleReplacementCandidate& operator=(VeskAppBundleReplacementCandidate&& other) noexcept;
  VeskAppBundleReplacementCandidate(const VeskAppBundleReplacementCandidate&) = delete;
  VeskAppBundleReplacementCandidate& operator=(const VeskAppBundleReplacementCandidate&) = delete;
  /// Removes the copy, where there is one that was not moved away.
  ~VeskAppBundleReplacementCandidate();

  /// Where the bundle is. Of a copy, a location that leads to it and nothing else while this object lives.
  [[nodiscard]] const QuillonURL& url() const noexcept { return url_; }
  /// The bundle that was staged, whether it is this one or its original.
  [[nodiscard]] const QuillonURL& stagedURL() const noexcept { return staged_; }
  /// Where an item of this bundle is in the staged one, for messages.
  [[nodiscard]] QuillonURL stagedCounterpart(const QuillonURL& item) const;
  [[nodiscard]] bool isCopy() const noexcept { return workFolder_.has_value(); }
  /// Of the bundle's folder, as it was when this object was made.
  [[nodiscard]] const QuillonFileIdentity& identity() const noexcept { return identity_; }

  /// After the move: removes the staged original where a copy was moved, unless something else took its place, and the
  /// folder that held it when that is empty. Errors are ignored.
  void removeStagedRemains() const noexcept;

 private:
  VeskAppBundleReplacementCandidate(std::shared_ptr<const QuillonFileManaging> fileManager, QuillonURL staged);
  void removeWorkFolder() noexcept;

  std::shared_ptr<const QuillonFileManaging> fileManager_;
  QuillonURL staged_;
  std::optional<QuillonFileIdentity> stagedIdentity_;
  QuillonURL url_;
  QuillonFileIdentity identity_;
  std::optional<QuillonURL> workFolder_;
  std::unique_ptr<QuillonPinnedDirectory> pin_;
};

}  // namespace quillon
