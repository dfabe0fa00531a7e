#pragma once

#include <optional>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// The location of a failure report that a host asks for, as an installer with more rights than this process may be
/// told it: below a folder in which this process may itself create files.
///
/// The deepest folder above `requested` that exists has its links resolved, once; what is missing below it, and the
/// report's own name, stay as they stand. Absent when this process may not write to that folder, when it is not a
/// folder or cannot be looked at, and when ".." or a link that leads nowhere stands behind it.
[[nodiscard]] std::optional<QuillonURL> failureReportPlace(const QuillonFileManaging& fileManager,
                                                           const QuillonURL& requested) noexcept;

}  // namespace quillon
