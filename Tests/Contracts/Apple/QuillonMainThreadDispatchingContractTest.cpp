// The promises of a main thread, held by the one that the run loop serves.

#include <memory>

#include "Contracts/QuillonMainThreadDispatchingContract.h"
#include "QuillonCore/Runtime/Apple/QuillonAppleMainThread.h"
#include "Support/Apple/RunLoopTurns.h"

namespace quillon {
namespace {

INSTANTIATE_TEST_SUITE_P(
    Apple, QuillonMainThreadDispatchingContract,
    ::testing::Values(testing::MainThreadImplementation{
        "RunLoop",
        [] {
          return testing::MainThread{std::make_shared<QuillonAppleMainThread>(), testing::runMainRunLoop};
        }}),
    [](const auto& run) { return run.param.name; });

}  // namespace
}  // namespace quillon
