#include <gtest/gtest.h>

#include <barrier>
#include <thread>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionDownloadTaskBox.h"
#include "Support/FakeURLTransfers.h"
#include "Support/RecordingURLReceiver.h"

namespace quillon {
namespace {

using testing::FakeURLTransfers;
using testing::RecordingURLReceiver;

class VeskUpdateURLSessionDownloadTaskBoxTest : public ::testing::Test {
 protected:
  std::shared_ptr<QuillonURLDataTask> makeTask() {
    return std::make_shared<QuillonURLDataTask>(
        std::make_shared<FakeURLTransfers>(
            [this](const auto&, auto&, const auto& stopToken) { wasCancelled_ = stopToken.stop_requested(); }),
        QuillonURLRequest{.url = QuillonURL::fileURL("/")});
  }
  bool isCancelled(QuillonURLDataTask& task) {
    RecordingURLReceiver receiver;
    task.resume(receiver);
    return wasCancelled_;
  }

  bool wasCancelled_ = false;
};

TEST_F(VeskUpdateURLSessionDownloadTaskBoxTest, AStoredTaskGoesOn) {
  VeskUpdateURLSessionDownloadTaskBox box;
  const auto task = makeTask();
  box.store(task);

  EXPECT_FALSE(isCancelled(*task));
}

TEST_F(VeskUpdateURLSessionDownloadTaskBoxTest, CancellingCancelsTheStoredTask) {
  VeskUpdateURLSessionDownloadTaskBox box;
  const auto task = makeTask();
  box.store(task);

  box.cancel();
  box.cancel();

  EXPECT_TRUE(isCancelled(*task));
}

TEST_F(VeskUpdateURLSessionDownloadTaskBoxTest, ATaskThatComesAfterTheCancellationIsCancelledAtOnce) {
  VeskUpdateURLSessionDownloadTaskBox box;
  const auto task = makeTask();
  box.cancel();

  box.store(task);

  EXPECT_TRUE(isCancelled(*task));
  EXPECT_EQ(task.use_count(), 1);
}

TEST_F(VeskUpdateURLSessionDownloadTaskBoxTest, InARaceTheTaskIsAlwaysCancelled) {
  for (int round = 0; round < 50; ++round) {
    VeskUpdateURLSessionDownloadTaskBox box;
    const auto task = makeTask();
    std::barrier together(2);
    std::thread canceller([&] {
      together.arrive_and_wait();
      box.cancel();
    });
    together.arrive_and_wait();
    box.store(task);
    canceller.join();

    EXPECT_TRUE(isCancelled(*task));
  }
}

}  // namespace
}  // namespace quillon
