#pragma once

#include <map>
#include <string>

#include "CodeSignature/BundleLayout.h"

namespace quillon {

/// Contents of signature files by name.
using SignatureFiles = std::map<std::string, std::string>;

/// Puts a `_CodeSignature` folder with exactly `files` into the bundle, in place of the one that is there. All files
/// are written into a folder beside it first, which then takes its name in one step; after a failure nothing has
/// changed. Throws QuillonSystemError.
void replaceSignatureFolder(const BundleLayout& layout, const SignatureFiles& files);

/// Removes what an interrupted `replaceSignatureFolder` has left behind. Throws QuillonSystemError.
void removeUnfinishedSignatureFolders(const BundleLayout& layout);

}  // namespace quillon
