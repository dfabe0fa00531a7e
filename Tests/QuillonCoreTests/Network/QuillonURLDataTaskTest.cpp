#include <gtest/gtest.h>

#include "QuillonCore/Network/QuillonURLDataTask.h"
#include "QuillonCore/Network/QuillonURLFailure.h"
#include "Support/FakeURLTransfers.h"
#include "Support/RecordingURLReceiver.h"

namespace quillon {
namespace {

using testing::FakeURLTransfers;
using testing::RecordingURLReceiver;

const QuillonURLRequest kRequest{.url = QuillonURL::parse("http://example.com/feed").value()};

TEST(QuillonURLDataTaskTest, ATaskBringsWhatItsTransferBrings) {
  RecordingURLReceiver receiver;
  QuillonURLDataTask task(std::make_shared<FakeURLTransfers>([](const auto& request, auto& to, const auto&) {
                            EXPECT_EQ(request, kRequest);
                            to.didReceiveData("bytes");
                          }),
                          kRequest);

  task.resume(receiver);

  EXPECT_EQ(receiver.body, "bytes");
}

TEST(QuillonURLDataTaskTest, ATaskThatIsCancelledBeforehandTellsItsTransfer) {
  RecordingURLReceiver receiver;
  bool wasStopped = false;
  QuillonURLDataTask task(std::make_shared<FakeURLTransfers>([&](const auto&, auto&, const auto& stopToken) {
                            wasStopped = stopToken.stop_requested();
                          }),
                          kRequest);
  task.cancel();
  task.cancel();

  task.resume(receiver);

  EXPECT_TRUE(wasStopped);
}

TEST(QuillonURLDataTaskTest, ATaskThatIsCancelledMeanwhileTellsItsTransfer) {
  RecordingURLReceiver receiver;
  QuillonURLDataTask* running = nullptr;
  QuillonURLDataTask task(std::make_shared<FakeURLTransfers>([&](const auto& request, auto&, const auto& stopToken) {
                            EXPECT_FALSE(stopToken.stop_requested());
                            running->cancel();
                            if (stopToken.stop_requested()) throw cancelledTransfer(request.url);
                          }),
                          kRequest);
  running = &task;

  EXPECT_THROW(task.resume(receiver), QuillonURLError);
}

TEST(QuillonURLDataTaskTest, CancellingAfterwardsDoesNoHarm) {
  RecordingURLReceiver receiver;
  QuillonURLDataTask task(std::make_shared<FakeURLTransfers>([](const auto&, auto&, const auto&) {}), kRequest);
  task.resume(receiver);

  task.cancel();

  EXPECT_FALSE(receiver.response);
}

}  // namespace
}  // namespace quillon
