#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillon {

/// The DER content bytes (no tag, no length) of an object identifier in dotted decimals; absent when it is none or one
/// of its arcs needs more than 56 bits.
[[nodiscard]] std::optional<std::string> objectIdentifierContent(std::string_view dotted);

/// Dotted decimals of DER content bytes; absent when they are not a complete object identifier.
[[nodiscard]] std::optional<std::string> dottedObjectIdentifier(std::string_view content);

}  // namespace quillon
