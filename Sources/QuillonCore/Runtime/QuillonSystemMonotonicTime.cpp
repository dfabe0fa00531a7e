#include "QuillonCore/Runtime/QuillonSystemMonotonicTime.h"

#include <chrono>

namespace quillon {

QuillonMonotonicTimeProvider makeSystemMonotonicTimeProvider() {
  return [] {
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart).count());
  };
}

}  // namespace quillon
