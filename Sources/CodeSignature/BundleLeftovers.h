#pragma once

#include "CodeSignature/BundleLayout.h"
#include "CodeSignature/LoadedSignature.h"

namespace quillon {

/// Refuses anything beside `Contents`, where no seal reaches, but the few files that the desktop leaves there. Throws
/// CodeSignatureError(unsealedRootContents).
void checkBundleRoot(const BundleLayout& layout);

/// As checkBundleRoot, and refuses anything in the `_CodeSignature` folder that is no part of the signature.
void checkLeftovers(const BundleLayout& layout, const LoadedSignature& signature);

}  // namespace quillon
