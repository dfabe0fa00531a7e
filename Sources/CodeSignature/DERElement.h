#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "CodeSignature/BERElement.h"

namespace quillon {

/// One value in DER (X.690): the tag, the shortest length, the content.
[[nodiscard]] std::string derElement(BERTag tag, std::string_view content);

/// An object identifier in DER. Throws std::bad_optional_access when `dotted` is none.
[[nodiscard]] std::string derObjectIdentifier(std::string_view dotted);

/// A SET OF values that are in DER, in the order that DER wants. `tag` is another than that of sets where the type is
/// tagged.
[[nodiscard]] std::string derSetOf(std::vector<std::string> elements, BERTag tag = BERTag::set);

}  // namespace quillon
