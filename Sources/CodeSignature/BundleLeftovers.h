#pragma once

#include "CodeSignature/BundleLayout.h"
#include "CodeSignature/LoadedSignature.h"

namespace quillon {

/// Refuses anything in the bundle's folder that no seal reaches: beside `Contents`, or beside the versions of a
/// framework and the links into them, nothing may stand but the few files that the desktop leaves there. Throws
/// CodeSignatureError: unsealedRootContents; for frameworks unsealedFrameworkRootContents, and ambiguousBundleFormat
/// when what stands at the top is not what the current version has.
void checkBundleRoot(const BundleLayout& layout);

/// Refuses anything in the `_CodeSignature` folder that is no part of the signature. In a bundle whose code has its
/// signature inside (`isEmbedded`) that is everything but the resource seal and an empty `CodeSignature`. Throws
/// CodeSignatureError(unsealedRootContents).
void checkSignatureFolder(const BundleLayout& layout, const LoadedSignature& signature, bool isEmbedded);

/// Names of the versions of a framework beside the current one.
[[nodiscard]] std::vector<std::string> otherVersions(const BundleLayout& layout);

}  // namespace quillon
