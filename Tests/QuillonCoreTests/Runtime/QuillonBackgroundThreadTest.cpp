#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "QuillonCore/Runtime/QuillonBackgroundThread.h"
#include "Support/BlockingQueue.h"

namespace quillon {
namespace {

TEST(QuillonBackgroundThreadTest, LettingItGoWaitsForItsEnd) {
  testing::BlockingQueue<bool> isLettingGo;
  testing::BlockingQueue<bool> isReleased;
  testing::BlockingQueue<std::string> order;
  std::optional<QuillonBackgroundThread> thread(std::in_place, [&] {
    isReleased.pop();
    order.push("the thread ends");
  });
  const std::jthread releasing([&] {
    isLettingGo.pop();
    // The thread that lets go has every chance to get past it.
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    isReleased.push(true);
  });

  isLettingGo.push(true);
  thread.reset();
  order.push("let go");

  EXPECT_EQ(order.pop(), "the thread ends");
  EXPECT_EQ(order.pop(), "let go");
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
