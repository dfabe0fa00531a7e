#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// An extended attribute under the name that it has on macOS.
struct ExtendedAttribute {
  std::string name;
  std::string value;

  friend bool operator==(const ExtendedAttribute&, const ExtendedAttribute&) = default;
};

/// Names under which the parts of an AppleDouble file that are no attributes there are kept as attributes.
inline constexpr std::string_view kFinderInfoAttribute = "com.apple.FinderInfo";
inline constexpr std::string_view kResourceForkAttribute = "com.apple.ResourceFork";

/// Whether `bytes` begin as an AppleDouble file does.
[[nodiscard]] bool isAppleDouble(std::string_view bytes) noexcept;

/// The attributes in an AppleDouble file (RFC 1740, with the attributes that macOS appends to the Finder information:
/// <sys/xattr.h> and copyfile(3) of that platform). Finder information of zeros only, and a resource fork that says
/// that it is left blank, are none. Throws ZipArchiveError for a damaged file.
[[nodiscard]] std::vector<ExtendedAttribute> parseAppleDouble(std::string_view bytes);

/// An AppleDouble file that holds `attributes`, as macOS reads it. Throws ZipArchiveError for what the format has no
/// room for: a name of more than 254 bytes, or Finder information that is not 32 bytes long.
[[nodiscard]] std::string makeAppleDouble(const std::vector<ExtendedAttribute>& attributes);

}  // namespace quillon
