#pragma once

#include <map>
#include <optional>
#include <string>

#include "CodeSignature/BundleLayout.h"
#include "CodeSignature/SpecialSlots.h"

namespace quillon {

/// The file of the bundle's `_CodeSignature` folder that keeps the part; absent when there is none. Throws
/// CodeSignatureError: notReadable, signatureFailed for a link, a special file, or an unreasonable size.
[[nodiscard]] std::optional<std::string> readSignatureFile(const BundleLayout& layout, CodeSlot slot);

/// Contents of signature files by name.
using SignatureFiles = std::map<std::string, std::string>;

/// Puts a `_CodeSignature` folder with exactly `files` into the bundle, in place of the one that is there. All files
/// are written into a folder beside it first, which then takes its name in one step; after a failure nothing has
/// changed. Throws QuillonSystemError.
void replaceSignatureFolder(const BundleLayout& layout, const SignatureFiles& files);

/// Removes what an interrupted `replaceSignatureFolder` has left behind. Throws QuillonSystemError.
void removeUnfinishedSignatureFolders(const BundleLayout& layout);

}  // namespace quillon
