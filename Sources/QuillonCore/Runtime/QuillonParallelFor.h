#pragma once

#include <cstddef>
#include <functional>

namespace quillon {

/// Number of threads that `quillonParallelFor` uses for `count` items: the processors this process may use, but at
/// least one and never more than there are items.
[[nodiscard]] std::size_t quillonParallelForWorkerCount(std::size_t count) noexcept;

/// Calls `body(index, worker)` once for every index below `count`, on several threads at once, and returns when all
/// calls have returned. `worker` is below `quillonParallelForWorkerCount(count)` and belongs to one thread during the
/// call, so that each thread can keep a buffer of its own. With one worker everything runs on the calling thread.
///
/// Indexes are handed out in ascending order. After an exception no further index is handed out, and the exception of
/// the lowest failing index is thrown on: the same input fails with the same error however the threads interleave.
void quillonParallelFor(std::size_t count, const std::function<void(std::size_t index, std::size_t worker)>& body);

}  // namespace quillon
