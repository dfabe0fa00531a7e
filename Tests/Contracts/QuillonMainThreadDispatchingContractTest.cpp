// The promises of a main thread, held by the one of programs without a toolkit and by the one that tests move by hand.

#include <memory>
#include <utility>

#include "Contracts/QuillonMainThreadDispatchingContract.h"
#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"
#include "Support/ManualMainThread.h"

namespace quillon {
namespace {

using testing::MainThread;
using testing::MainThreadImplementation;
using testing::ManualMainThread;

INSTANTIATE_TEST_SUITE_P(
    Implementations, QuillonMainThreadDispatchingContract,
    ::testing::Values(MainThreadImplementation{"Queue",
                                               [] {
                                                 auto queue = std::make_shared<QuillonMainThreadQueue>();
                                                 auto* const borrowed = queue.get();
                                                 return MainThread{std::move(queue), [borrowed] { borrowed->drain(); }};
                                               }},
                      MainThreadImplementation{
                          "ByHand",
                          [] {
                            auto manual = std::make_shared<ManualMainThread>();
                            auto* const borrowed = manual.get();
                            return MainThread{std::move(manual), [borrowed] { borrowed->runAll(); }};
                          }}),
    [](const auto& run) { return run.param.name; });

}  // namespace
}  // namespace quillon
