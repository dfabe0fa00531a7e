#pragma once

#include <map>
#include <string>
#include <vector>

#include "QuillonTool/QuillonToolArguments.h"

namespace quillon {

/// The options that say what is to stand in an entry.
[[nodiscard]] std::vector<QuillonToolOption> feedEntryOptions();

/// The texts that the options of feedEntryOptions() ask for, by the key of the entry. Throws QuillonToolUsageError for
/// an empty one, and for two options that say what stands under one key.
[[nodiscard]] std::map<std::string, std::string, std::less<>> readFeedEntryOptions(
    const QuillonToolArguments& arguments);

}  // namespace quillon
