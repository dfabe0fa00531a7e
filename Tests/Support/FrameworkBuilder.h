#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon::testing {

/// Makes a framework on the disk: `Versions/A` with an executable and `Resources/Info.plist`, the link
/// `Versions/Current`, and the links at its top that lead into the current version.
class FrameworkBuilder {
 public:
  /// `path` is that of the framework's folder, "…/Name.framework". The executable has the content `code`.
  explicit FrameworkBuilder(std::filesystem::path path, std::string_view code = "#!/bin/sh\necho framework\n");

  /// Adds another version with an executable of its own; the current one stays.
  FrameworkBuilder& withVersion(std::string_view version, std::string_view code);
  /// Writes a file; `path` is relative to the framework's folder.
  FrameworkBuilder& withFile(std::string_view path, std::string_view content);

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
  [[nodiscard]] std::filesystem::path operator/(std::string_view path) const { return path_ / path; }
  [[nodiscard]] QuillonURL url() const { return QuillonURL::fileURL(path_.string()); }

 private:
  std::filesystem::path path_;
};

}  // namespace quillon::testing
