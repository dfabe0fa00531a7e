#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Runtime/QuillonSystemLog.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// The old bundle beside the installed path while the staged one takes its place. Unless it is removed, it goes back to
/// the installed path at the end of this object's life, whatever ended it.
class VeskAppBundleReplacementBackup {
 public:
  /// Names a backup of `installed` in the same folder, so that moving there is a rename. Touches nothing.
  VeskAppBundleReplacementBackup(std::shared_ptr<const QuillonFileManaging> fileManager, QuillonURL installed);
  /// Restores. A failure leaves the backup under its name, where the next replacement of the bundle finds it.
  ~VeskAppBundleReplacementBackup();
  VeskAppBundleReplacementBackup(const VeskAppBundleReplacementBackup&) = delete;
  VeskAppBundleReplacementBackup& operator=(const VeskAppBundleReplacementBackup&) = delete;

  [[nodiscard]] const QuillonURL& url() const noexcept { return url_; }

  /// Moves the installed bundle to the backup's name. Throws what the file system throws.
  void moveAside();
  /// Removes what stands at the installed path, if anything, and moves the backup there. Without a backup nothing is
  /// touched. Throws QuillonError.
  void restore();
  /// The swap has succeeded: removes the backup, ignoring errors.
  void remove() noexcept;

  /// Brings back the latest backup of `installed` where an interrupted replacement left nothing at that path, and says
  /// so in `log`. Never fails: a bundle that is still missing afterwards is an error of the next step.
  static void recoverInterruptedReplacement(const QuillonFileManaging& fileManager, const QuillonURL& installed,
                                            const QuillonDiagnosticLog& log) noexcept;

  /// Removes the backups of `installed` that interrupted replacements have left, as far as that is possible, and
  /// returns their names. Only for whoever knows that no replacement is under way and that the bundle at that path is
  /// the one to keep; while nothing is there, backups stay.
  static std::vector<std::string> removeLeftBehind(const QuillonFileManaging& fileManager,
                                                   const QuillonURL& installed) noexcept;

 private:
  std::shared_ptr<const QuillonFileManaging> fileManager_;
  QuillonURL installed_;
  QuillonURL url_;
  bool isNeeded_ = false;
};

}  // namespace quillon
