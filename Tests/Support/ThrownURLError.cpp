#include "Support/ThrownURLError.h"

namespace quillon::testing {

std::optional<QuillonURLError> thrownURLError(const std::function<void()>& function) {
  try {
    function();
    return std::nullopt;
  } catch (const QuillonURLError& error) {
    return error;
  }
}

}  // namespace quillon::testing
