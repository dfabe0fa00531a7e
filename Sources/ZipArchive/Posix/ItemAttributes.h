#pragma once

#include <vector>

#include "ZipArchive/AppleDouble.h"

namespace quillon {

/// Gives an open file or folder the attributes, each as "user." and its name: other names are not free for everyone
/// (xattr(7)).
///
/// A volume that cannot hold an attribute goes without it, unless the attribute belongs to a code signature: then
/// QuillonSystemError is thrown, because the item would no longer be what was signed.
void setItemAttributes(int item, const std::vector<ExtendedAttribute>& attributes);

/// The attributes that an open file or folder has under "user.", in the order of their names, without that prefix.
/// Throws QuillonSystemError.
[[nodiscard]] std::vector<ExtendedAttribute> itemAttributes(int item);

}  // namespace quillon
