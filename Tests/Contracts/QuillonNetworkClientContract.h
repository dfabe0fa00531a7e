#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonCore/Contracts/QuillonNetworkClient.h"
#include "QuillonCore/Values/QuillonURLError.h"

// What every client of the network promises. A test executable that includes this instantiates the suite with its
// implementations.

namespace quillon {
namespace testing {

inline constexpr const char* kFeed = "<plist/>";
inline const std::string kLargeFeed(400'000, 'f');

/// A client, and a web that it reaches: "/feed" (kFeed, with a field "X-Quillon: yes"), "/large" (kLargeFeed),
/// "/empty", and nothing else.
struct Web {
  std::shared_ptr<const QuillonNetworkClient> client;
  std::function<QuillonURL(const std::string& path)> url;
};

struct NetworkClientImplementation {
  friend void PrintTo(const NetworkClientImplementation& implementation, std::ostream* out) {
    *out << implementation.name;
  }

  std::string name;
  std::function<Web()> make;
};

}  // namespace testing

class QuillonNetworkClientContract : public ::testing::TestWithParam<testing::NetworkClientImplementation> {
 protected:
  QuillonURLData load(const std::string& path, std::stop_token stopToken = {}) const {
    return web_.client->data({.url = web_.url(path)}, std::move(stopToken));
  }

  QuillonURLErrorCode failureOf(const QuillonURLRequest& request) const {
    try {
      (void)web_.client->data(request);
    } catch (const QuillonURLError& error) {
      return error.code();
    }
    ADD_FAILURE() << "the transfer did not fail";
    return QuillonURLErrorCode::unknown;
  }

  testing::Web web_ = GetParam().make();
};

TEST_P(QuillonNetworkClientContract, ABodyComesWithItsResponse) {
  const QuillonURLData data = load("/feed");

  EXPECT_EQ(data.body, testing::kFeed);
  EXPECT_EQ(data.response.url, web_.url("/feed"));
  EXPECT_EQ(data.response.httpStatusCode, 200);
  EXPECT_EQ(data.response.expectedContentLength, 8);
  EXPECT_EQ(data.response.valueForHeaderField("x-quillon"), "yes");
}

TEST_P(QuillonNetworkClientContract, ALargeBodyIsWhole) {
  EXPECT_EQ(load("/large").body, testing::kLargeFeed);
}

TEST_P(QuillonNetworkClientContract, AnEmptyBodyIsABody) {
  const QuillonURLData data = load("/empty");

  EXPECT_EQ(data.body, "");
  EXPECT_EQ(data.response.expectedContentLength, 0);
}

TEST_P(QuillonNetworkClientContract, AnyStatusIsAResponse) {
  EXPECT_EQ(load("/missing").response.httpStatusCode, 404);
}

TEST_P(QuillonNetworkClientContract, AStopThatWasRequestedIsTheErrorCancelled) {
  std::stop_source stop;
  stop.request_stop();

  try {
    (void)load("/feed", stop.get_token());
    FAIL() << "the transfer was not cancelled";
  } catch (const QuillonURLError& error) {
    EXPECT_EQ(error.code(), QuillonURLErrorCode::cancelled);
    EXPECT_FALSE(error.description().empty());
  }
}

TEST_P(QuillonNetworkClientContract, AStopThatIsNotRequestedChangesNothing) {
  const std::stop_source stop;

  EXPECT_EQ(load("/feed", stop.get_token()).body, testing::kFeed);
}

TEST_P(QuillonNetworkClientContract, OtherSchemesAreRefused) {
  EXPECT_EQ(failureOf({.url = QuillonURL::parse("ftp://example.com/feed").value()}),
            QuillonURLErrorCode::unsupportedURL);
  EXPECT_EQ(failureOf({.url = QuillonURL::parse("data:text/plain,feed").value()}), QuillonURLErrorCode::unsupportedURL);
}

TEST_P(QuillonNetworkClientContract, AHeaderFieldThatCouldBecomeAnotherIsRefused) {
  EXPECT_EQ(failureOf({.url = web_.url("/feed"), .headerFields = {{"A", "x\r\nB: y"}}}), QuillonURLErrorCode::badURL);
  EXPECT_EQ(failureOf({.url = web_.url("/feed"), .headerFields = {{"A: x\r\nB", "y"}}}), QuillonURLErrorCode::badURL);
}

TEST_P(QuillonNetworkClientContract, SeveralThreadsMayLoadAtOnce) {
  std::vector<std::string> bodies(4);
  std::vector<std::thread> threads;

  for (std::string& body : bodies) threads.emplace_back([&] { body = load("/large").body; });
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(bodies, std::vector<std::string>(4, testing::kLargeFeed));
}

}  // namespace quillon
