#pragma once

#include <functional>
#include <optional>

#include "QuillonCore/Values/QuillonURLError.h"

namespace quillon::testing {

/// What `function` throws. For tests in Objective-C++, which do not catch: not every object runtime can do that there.
[[nodiscard]] std::optional<QuillonURLError> thrownURLError(const std::function<void()>& function);

}  // namespace quillon::testing
