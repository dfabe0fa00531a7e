#pragma once

#include "CodeSignature/BundleLayout.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Opens the bundle at `item`, a folder, or the bundle around `item` when that is its main executable. Links in the
/// path itself are followed. Throws as `openBundle` does; CodeSignatureError(unsignedCode) for any other file, and
/// signatureUnsupported for a Mach-O file.
[[nodiscard]] BundleLayout openBundleAt(const QuillonURL& item);

}  // namespace quillon
