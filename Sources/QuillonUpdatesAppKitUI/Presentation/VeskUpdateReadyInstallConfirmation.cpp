#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateReadyInstallConfirmation.h"

#include <utility>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

void VeskUpdateReadyInstallConfirmation::setContinuation(Continuation continuation) {
  {
    const std::lock_guard guard(lock_);
    if (!resolved_) {
      continuation_ = std::move(continuation);
      return;
    }
  }
  continuation(std::make_exception_ptr(QuillonCancellationError()));
}

void VeskUpdateReadyInstallConfirmation::resolve(const std::exception_ptr& error) {
  Continuation continuation;
  {
    const std::lock_guard guard(lock_);
    if (std::exchange(resolved_, true)) return;
    continuation = std::exchange(continuation_, nullptr);
  }
  if (continuation) continuation(error);
}

}  // namespace quillon
