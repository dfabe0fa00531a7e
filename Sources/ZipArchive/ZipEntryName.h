#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ZipArchive/ZipArchiveLimits.h"
#include "ZipArchive/ZipExtraFields.h"

namespace quillon {

/// The name of an entry as a path below the destination.
struct ZipEntryName {
  /// UTF-8, components separated by one "/"; empty for the destination itself.
  std::string path;
  /// Whether the name ends with "/", as those of folders do.
  bool endsWithSlash = false;

  friend bool operator==(const ZipEntryName&, const ZipEntryName&) = default;
};

/// The text of the name `raw`: that of the Unicode field if it was made for this name, else UTF-8 where the bytes are,
/// as macOS writes names without saying so, else code page 437. Throws ZipArchiveError for a name that is declared as
/// UTF-8 and is not.
[[nodiscard]] std::string decodedZipName(std::string_view raw, std::uint16_t flags, const ZipExtraFields& fields);

/// Reads the decoded name of an entry that was made on the system `host`.
///
/// Throws ZipArchiveError for names that lead anywhere but below the destination, or that one of the platforms takes
/// for something else: absolute, with a component ".." or an empty one, with NUL, with a backslash where the host
/// separates folders with it, or beyond the limits. Components "." are left out.
[[nodiscard]] ZipEntryName checkedZipName(std::string_view decoded, std::uint8_t host, const ZipArchiveLimits& limits);

/// The components of a path; none for an empty one. Views into `path`.
[[nodiscard]] std::vector<std::string_view> pathComponents(std::string_view path);

/// Equal for components that a file system of the platform can take for the same name: those that differ in case or in
/// the composition of their characters only (Unicode's canonical caseless matching).
[[nodiscard]] std::string collisionKey(std::string_view component);

/// Whether all of `text` is well-formed UTF-8.
[[nodiscard]] bool isUTF8(std::string_view text) noexcept;

}  // namespace quillon
