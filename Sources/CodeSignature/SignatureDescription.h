#pragma once

#include <string>

#include "CodeSignature/CodeSignatureVerdict.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// What a display of code says: lines "Key=value", in the order and wording of the platform's tool at its highest
/// verbosity, each with its line end.
///
/// The display does not verify the code. But its team is printed only when for every architecture the signature's
/// message is intact, its leaf certificate names that team, and its chain ends in a known anchor; everything else is
/// "not set". Throws CodeSignatureError(unsignedCode) and what opening the code throws.
[[nodiscard]] std::string describeSignature(const QuillonURL& item, const TrustAnchors& anchors);

}  // namespace quillon
