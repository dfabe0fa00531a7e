#pragma once

#include <string_view>

#include "QuillonCore/Values/PropertyListCodec/PropertyListTree.h"

namespace quillon {

/// Reads the old-style text form of a property list from `text` (UTF-8, see decodedPropertyListText()), to which the
/// tree's strings refer: `{ key = value; }`, `( a, b )`, `<0fbd77>`, quoted and plain strings, comments of C. The
/// entries of a
/// ".strings" table stand without braces, and there `key;` means that the value is the key. Text of nothing but space
/// and comments is an empty table. Octal escapes reach to \177. Throws QuillonPropertyListError.
void readOldStylePropertyList(std::string_view text, PropertyListTree& tree);

}  // namespace quillon
