#include <glib.h>

#include <memory>
#include <utility>
#include <vector>

#include "Contracts/QuillonMainThreadDispatchingContract.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/QuillonGLibMainThread.h"

namespace quillon {
namespace {

void runWhatWaits() {
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
}

INSTANTIATE_TEST_SUITE_P(GLib, QuillonMainThreadDispatchingContract,
                         ::testing::Values(testing::MainThreadImplementation{
                             "GLib",
                             [] {
                               return testing::MainThread{std::make_shared<QuillonGLibMainThread>(), runWhatWaits};
                             }}),
                         [](const auto& run) { return run.param.name; });

TEST(QuillonGLibMainThreadTest, ALoopWithinAPostedFunctionRunsWhatIsPostedMeanwhile) {
  QuillonGLibMainThread mainThread;
  std::vector<int> order;
  mainThread.post([&] {
    mainThread.post([&] { order.push_back(2); });
    order.push_back(1);
    runWhatWaits();
    order.push_back(3);
  });

  runWhatWaits();

  EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST(QuillonGLibMainThreadTest, APostedFunctionMayEndTheMainThread) {
  auto mainThread = std::make_unique<QuillonGLibMainThread>();
  int runs = 0;
  mainThread->post([&] {
    ++runs;
    mainThread.reset();
  });
  mainThread->post([&] { ++runs; });

  runWhatWaits();

  EXPECT_EQ(runs, 1);
}

TEST(QuillonGLibMainThreadTest, EventsGoBeforePostedFunctions) {
  QuillonGLibMainThread mainThread;
  std::vector<int> order;
  mainThread.post([&] { order.push_back(2); });
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer numbers) -> gboolean {
        static_cast<std::vector<int>*>(numbers)->push_back(1);
        return G_SOURCE_REMOVE;
      },
      &order, nullptr);

  runWhatWaits();

  EXPECT_EQ(order, (std::vector{1, 2}));
}

}  // namespace
}  // namespace quillon
