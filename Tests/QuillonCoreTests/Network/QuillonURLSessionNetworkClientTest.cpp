#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "QuillonCore/Network/QuillonURLSessionNetworkClient.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "Support/FakeURLTransfers.h"

namespace quillon {
namespace {

using testing::FakeURLTransfers;
using ::testing::HasSubstr;

const QuillonURLRequest kRequest{.url = QuillonURL::parse("http://example.com/feed").value()};

QuillonURLSessionNetworkClient clientOf(FakeURLTransfers::Course course, std::size_t maximumBodyBytes = 10) {
  return QuillonURLSessionNetworkClient(std::make_shared<FakeURLTransfers>(std::move(course)), maximumBodyBytes);
}

QuillonURLErrorCode failureOf(const QuillonURLSessionNetworkClient& client) {
  try {
    (void)client.data(kRequest);
  } catch (const QuillonURLError& error) {
    EXPECT_THAT(error.description(), HasSubstr("http://example.com"));
    return error.code();
  }
  ADD_FAILURE() << "the transfer did not fail";
  return QuillonURLErrorCode::unknown;
}

TEST(QuillonURLSessionNetworkClientTest, TheBodyIsAllThatArrived) {
  const auto client = clientOf([](const auto& request, auto& receiver, const auto&) {
    receiver.didReceiveResponse({.url = request.url, .httpStatusCode = 404});
    receiver.didReceiveData("abc");
    receiver.didReceiveData("def");
  });

  const QuillonURLData data = client.data(kRequest);

  EXPECT_EQ(data.body, "abcdef");
  EXPECT_EQ(data.response, (QuillonURLResponse{.url = kRequest.url, .httpStatusCode = 404}));
}

TEST(QuillonURLSessionNetworkClientTest, ATransferWithoutResponseIsABadOne) {
  const auto client = clientOf([](const auto&, auto&, const auto&) {});

  EXPECT_EQ(failureOf(client), QuillonURLErrorCode::badServerResponse);
}

TEST(QuillonURLSessionNetworkClientTest, ABodyMayHaveJustTheLimit) {
  const auto client = clientOf([](const auto& request, auto& receiver, const auto&) {
    receiver.didReceiveResponse({.url = request.url, .expectedContentLength = 10});
    receiver.didReceiveData("0123456789");
  });

  EXPECT_EQ(client.data(kRequest).body.size(), 10U);
}

TEST(QuillonURLSessionNetworkClientTest, ABodyThatGrowsPastTheLimitIsAnError) {
  const auto client = clientOf([](const auto& request, auto& receiver, const auto&) {
    receiver.didReceiveResponse({.url = request.url});
    receiver.didReceiveData("0123456789");
    receiver.didReceiveData("0");
  });

  EXPECT_EQ(failureOf(client), QuillonURLErrorCode::dataLengthExceedsMaximum);
}

TEST(QuillonURLSessionNetworkClientTest, ABodyThatIsAnnouncedPastTheLimitIsNotLoaded) {
  const auto client = clientOf([](const auto& request, auto& receiver, const auto&) {
    receiver.didReceiveResponse({.url = request.url, .expectedContentLength = 11});
    ADD_FAILURE() << "the transfer went on";
  });

  EXPECT_EQ(failureOf(client), QuillonURLErrorCode::dataLengthExceedsMaximum);
}

}  // namespace
}  // namespace quillon
