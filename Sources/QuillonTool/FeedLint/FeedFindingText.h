#pragma once

#include <string>

#include "QuillonTool/FeedLint/FeedFinding.h"
#include "QuillonTool/QuillonToolJSONObject.h"

namespace quillon {

/// One line for people: "entry 2, important: error: ...", entries counted from 1.
[[nodiscard]] std::string findingLine(const FeedFinding& finding);

/// An object with the members index (or null), key (or null), severity, problem, effect and mend.
[[nodiscard]] QuillonToolJSONObject findingObject(const FeedFinding& finding);

}  // namespace quillon
