#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillon {

/// The folder in which the platform's archive tool keeps AppleDouble files.
inline constexpr std::string_view kAppleDoubleFolder = "__MACOSX";
/// How their names begin (RFC 1740, section 3).
inline constexpr std::string_view kAppleDoublePrefix = "._";

/// Which item an AppleDouble file belongs to.
struct AppleDoubleName {
  /// Path of the item below the destination.
  std::string owner;
  /// Whether it is in the folder for such files, so that its name alone says what it is.
  bool isInOwnFolder = false;

  friend bool operator==(const AppleDoubleName&, const AppleDoubleName&) = default;
};

/// Reads the path of an entry; absent for one that no AppleDouble file has.
[[nodiscard]] std::optional<AppleDoubleName> appleDoubleName(std::string_view path);

/// The path of the AppleDouble file of the item at `path`, in the folder for such files.
[[nodiscard]] std::string appleDoublePath(std::string_view path);

}  // namespace quillon
