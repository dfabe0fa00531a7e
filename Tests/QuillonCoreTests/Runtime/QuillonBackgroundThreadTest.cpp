#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>

#include "QuillonCore/Runtime/QuillonBackgroundThread.h"
#include "Support/BlockingQueue.h"

namespace quillon {
namespace {

TEST(QuillonBackgroundThreadTest, LettingItGoWaitsForItsEnd) {
  std::atomic<bool> didEnd = false;
  std::optional<QuillonBackgroundThread> thread(std::in_place, [&didEnd] {
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    didEnd = true;
  });

  thread.reset();

  EXPECT_TRUE(didEnd);
}

TEST(QuillonBackgroundThreadTest, OnItsOwnThreadItGoesOnAlone) {
  testing::BlockingQueue<std::unique_ptr<QuillonBackgroundThread>> owner;
  testing::BlockingQueue<bool> goneOn;

  owner.push(std::make_unique<QuillonBackgroundThread>([&] {
    owner.pop().reset();
    goneOn.push(true);
  }));

  EXPECT_TRUE(goneOn.pop());
}

TEST(QuillonBackgroundThreadTest, NoThreadIsNoThread) {
  const QuillonBackgroundThread none;
}

}  // namespace
}  // namespace quillon
