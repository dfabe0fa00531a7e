#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
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

/// Runs a task, and returns when its thread has ended.
void runToItsEnd(Tasks& tasks) {
  std::promise<pid_t> running;
  tasks.start([&] { running.set_value(gettid()); });
  const auto thread = "/proc/self/task/" + std::to_string(running.get_future().get());
  while (std::filesystem::exists(thread)) std::this_thread::yield();
}

/// Bytes of address space. A thread that has ended keeps its stack until it is joined.
std::int64_t addressSpace() {
  std::int64_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * sysconf(_SC_PAGESIZE);
}

std::int64_t stackSize() {
  pthread_attr_t attributes;
  std::size_t size = 0;
  EXPECT_EQ(pthread_getattr_default_np(&attributes), 0);
  EXPECT_EQ(pthread_attr_getstacksize(&attributes, &size), 0);
  pthread_attr_destroy(&attributes);
  return static_cast<std::int64_t>(size);
}

TEST(VeskAppBundleInstallerLaunchTasksTest, TasksThatAreOverMakeRoomForOthers) {
  constexpr int kTasks = 24;
  Tasks tasks;
  runToItsEnd(tasks);  // what a first thread takes for all that follow is no matter here
  const std::int64_t before = addressSpace();

  for (int i = 0; i < kTasks; ++i) runToItsEnd(tasks);

  EXPECT_LT(addressSpace() - before, kTasks / 2 * stackSize());
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
