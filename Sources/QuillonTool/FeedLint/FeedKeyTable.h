#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace quillon {

/// The keys that hosts read from an entry, in the order of VeskUpdateFeedKeys.
[[nodiscard]] std::span<const std::string_view> knownFeedKeys() noexcept;

[[nodiscard]] bool isKnownFeedKey(std::string_view key) noexcept;

/// The known key that somebody who wrote `key` may have meant: one that differs in case, hyphens and underscores, or
/// in two letters at most.
[[nodiscard]] std::optional<std::string_view> similarFeedKey(std::string_view key);

}  // namespace quillon
