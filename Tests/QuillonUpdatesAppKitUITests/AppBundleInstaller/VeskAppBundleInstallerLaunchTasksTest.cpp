#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLaunchTasks.h"

namespace quillon {
namespace {

using Tasks = VeskAppBundleInstallerLaunchTasks;

/// Holds tasks until it is opened.
class Gate {
 public:
  void open() { opening_.set_value(); }
  void wait() const { opened_.wait(); }

 private:
  std::promise<void> opening_;
  std::shared_future<void> opened_ = opening_.get_future().share();
};

TEST(VeskAppBundleInstallerLaunchTasksTest, ATaskRunsOnAThreadOfItsOwn) {
  std::promise<std::thread::id> ran;
  Tasks tasks;

  tasks.start([&] { ran.set_value(std::this_thread::get_id()); });

  EXPECT_NE(ran.get_future().get(), std::this_thread::get_id());
}

TEST(VeskAppBundleInstallerLaunchTasksTest, TheDestructorWaitsForWhatIsUnderWay) {
  Gate gate;
  std::atomic<int> ended = 0;
  std::thread opener;

  {
    Tasks tasks;
    for (int i = 0; i < 2; ++i) {
      tasks.start([&] {
        gate.wait();
        ++ended;
      });
    }
    opener = std::thread([&] { gate.open(); });
  }

  EXPECT_EQ(ended, 2);
  opener.join();
}

TEST(VeskAppBundleInstallerLaunchTasksTest, TasksThatAreOverMakeRoomForOthers) {
  std::atomic<int> ran = 0;
  Tasks tasks;

  for (int i = 0; i < 100; ++i) {
    std::promise<void> ended;
    tasks.start([&] {
      ++ran;
      ended.set_value();
    });
    ended.get_future().wait();
  }

  EXPECT_EQ(ran, 100);
}

TEST(VeskAppBundleInstallerLaunchTasksTest, TasksMayBeStartedFromSeveralThreads) {
  std::atomic<int> ran = 0;

  {
    Tasks tasks;
    std::vector<std::jthread> starters;
    starters.reserve(4);
    for (int starter = 0; starter < 4; ++starter) {
      starters.emplace_back([&] {
        for (int i = 0; i < 25; ++i) tasks.start([&] { ++ran; });
      });
    }
  }

  EXPECT_EQ(ran, 100);
}

}  // namespace
}  // namespace quillon
