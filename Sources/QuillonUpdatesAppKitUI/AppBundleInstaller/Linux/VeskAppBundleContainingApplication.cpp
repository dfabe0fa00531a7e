#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleContainingApplication.h"

#include <filesystem>
#include <system_error>

namespace quillon {

std::optional<QuillonURL> defaultContainingApplicationURL() {
  std::error_code error;
  // The kernel follows the program wherever it is moved, and appends " (deleted)" once it is gone: no service's name.
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error || !program.is_absolute()) return std::nullopt;
  return containingApplicationURL(QuillonURL::fileURL(program.string()));
}

}  // namespace quillon
