#pragma once

#include "CodeSignature/BundleLayout.h"
#include "CodeSignature/LoadedSignature.h"

namespace quillon {

/// Refuses what no seal covers: anything in the `_CodeSignature` folder that is no part of the signature, and anything
/// beside `Contents` but the few files that the desktop leaves there. Throws
/// CodeSignatureError(unsealedRootContents).
void checkLeftovers(const BundleLayout& layout, const LoadedSignature& signature);

}  // namespace quillon
