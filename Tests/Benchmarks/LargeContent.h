#pragma once

#include <filesystem>

namespace quillon::testing {

/// Makes 5,000 files of 200 MB in all with links in `folder`, the same each time. The files' content is taken from this
/// machine's own libraries.
void makeLargeContent(const std::filesystem::path& folder);

}  // namespace quillon::testing
