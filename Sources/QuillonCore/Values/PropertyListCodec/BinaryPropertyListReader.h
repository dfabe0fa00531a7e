#pragma once

#include <string_view>

#include "QuillonCore/Values/PropertyListCodec/PropertyListTree.h"

namespace quillon {

/// Reads the binary form of a property list ("bplist00") from `bytes`, to which the tree refers.
///
/// The file is a header, objects, a table of the objects' offsets, and a trailer of 32 bytes; containers refer to
/// objects by number. Objects must not overlap, and a container that holds something may be referred to once: what is
/// read is a tree, and cannot be larger than the file. Strings may be shared, within a limit that is linear in the size
/// of the file. Throws QuillonPropertyListError.
void readBinaryPropertyList(std::string_view bytes, PropertyListTree& tree);

/// Whether `bytes` begin like a binary property list of any version.
[[nodiscard]] bool isBinaryPropertyList(std::string_view bytes) noexcept;

}  // namespace quillon
