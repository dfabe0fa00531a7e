#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>

#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"

namespace quillon {

/// Runs `function` on the main thread and returns when it is done; at once when this is the main thread. What it throws
/// is thrown here. From any thread, but a thread that the main thread waits for must be given a `stopToken` that the
/// main thread stops first.
///
/// Throws QuillonCancellationError, and then `function` has not run and never will, when a stop is requested before its
/// turn has come, or when the main thread ends.
void runOnMainThread(QuillonMainThreadDispatching& mainThread, const std::function<void()>& function,
                     const std::stop_token& stopToken = {});

/// The same for a function with a result, which is handed back.
template <typename Function>
std::invoke_result_t<Function&> onMainThread(QuillonMainThreadDispatching& mainThread, Function&& function,
                                             const std::stop_token& stopToken = {}) {
  using Result = std::invoke_result_t<Function&>;
  if constexpr (std::is_void_v<Result>) {
    runOnMainThread(
        mainThread, [&function] { function(); }, stopToken);
  } else {
    std::optional<Result> result;
    runOnMainThread(
        mainThread, [&] { result.emplace(function()); }, stopToken);
    return std::move(*result);
  }
}

}  // namespace quillon
