#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quillon {

/// Where this system's own tools are: beside the running program, else in the folder that they are installed to.
/// Neither `PATH` nor another variable has a say.
struct QuillonToolLocation {
  /// Folder of the running program.
  std::filesystem::path programFolder;
  /// Folder fixed when this system was built.
  std::filesystem::path installFolder;
  /// Whether this process has rights that whoever can write the program's folder may lack.
  bool isPrivileged = false;

  /// The running process's.
  [[nodiscard]] static QuillonToolLocation current();

  /// Path of the tool `name` (no slashes). A privileged process takes the one beside it only when that file and every
  /// folder above it belong to root and nobody else can change them. The path in the install folder need not exist.
  [[nodiscard]] std::string path(std::string_view name) const;
};

/// `QuillonToolLocation::current().path(name)`.
[[nodiscard]] std::string toolPath(std::string_view name);

}  // namespace quillon
