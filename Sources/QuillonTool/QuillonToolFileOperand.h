#pragma once

#include <string_view>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonTool/QuillonToolArguments.h"

namespace quillon {

/// The file or folder that the only operand, called `name` in messages, stands for; it need not exist. Throws
/// QuillonToolUsageError when there is not exactly one operand, or it is empty.
[[nodiscard]] QuillonURL fileOperand(const QuillonToolArguments& arguments, std::string_view name);

/// The file or folder at `path`, which the command line gives for `name`; it need not exist. Throws
/// QuillonToolUsageError for an empty path, which would stand for the current folder.
[[nodiscard]] QuillonURL fileAt(std::string_view path, std::string_view name);

/// Throws QuillonError unless `bundle` is a folder. Without this check a mistyped path looks like a broken bundle.
void requireBundle(const QuillonURL& bundle, const QuillonFileManaging& fileManager);

}  // namespace quillon
