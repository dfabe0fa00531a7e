#pragma once

#include <string_view>

#include "QuillonCore/Values/PropertyListCodec/PropertyListTree.h"

namespace quillon {

/// Reads the XML form of a property list from `text` (UTF-8, see decodedPropertyListText()), to which the tree's
/// strings refer.
///
/// It reads the XML that property lists need and no more: elements, character and the five predefined entity
/// references, comments, CDATA sections, processing instructions, a document type without internal subset. As on the
/// platform, the element "plist" may be missing, control characters are text, and line ends stay as they are. Throws
/// QuillonPropertyListError.
void readXMLPropertyList(std::string_view text, PropertyListTree& tree);

/// Whether `text`, which begins with '<', is XML rather than the data of an old-style list ("<0fbd77>").
[[nodiscard]] bool isXMLPropertyList(std::string_view text) noexcept;

}  // namespace quillon
