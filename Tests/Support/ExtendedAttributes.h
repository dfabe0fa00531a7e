#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace quillon::testing {

/// The mark of files that came from elsewhere, as this platform's volumes hold it.
extern const char* const kQuarantineAttribute;

/// False where the volume holds no such attributes.
[[nodiscard]] bool setAttribute(const std::filesystem::path& item, const char* name, const std::string& value);
/// Absent when `item` has no attribute `name`.
[[nodiscard]] std::optional<std::string> attribute(const std::filesystem::path& item, const char* name);

/// Gives a user who is nobody every right to `file` by an access list. False where the volume holds none.
[[nodiscard]] bool setAccessListForOther(const std::filesystem::path& file);
[[nodiscard]] bool hasAccessList(const std::filesystem::path& file);

}  // namespace quillon::testing
