// What every client of the network promises, run against a web server and against the client that tests fill by hand.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Network/QuillonURLSessionNetworkClient.h"
#include "Support/FakeNetworkClient.h"
#include "Support/NginxServer.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::FakeNetworkClient;
using testing::NginxServer;

constexpr const char* kFeed = "<plist/>";
const std::string kLargeFeed(400'000, 'f');

/// A client, and a web that it reaches: "/feed" (with a field "X-Quillon"), "/large", "/empty", and nothing else.
struct Web {
  std::shared_ptr<const QuillonNetworkClient> client;
  std::function<QuillonURL(const std::string& path)> url;
};

Web makeServerWeb() {
  const auto server = std::make_shared<NginxServer>("add_header X-Quillon yes;");
  testing::writeFile(server->documents() / "feed", kFeed);
  testing::writeFile(server->documents() / "large", kLargeFeed);
  testing::writeFile(server->documents() / "empty", "");
  return {.client = std::make_shared<QuillonURLSessionNetworkClient>(
              makeSystemURLTransfers({.usesProxiesOfEnvironment = false})),
          .url = [server](const std::string& path) { return server->url(path); }};
}

Web makeFakeWeb() {
  const auto url = [](const std::string& path) { return QuillonURL::parse("http://fake.invalid" + path).value(); };
  const auto client = std::make_shared<FakeNetworkClient>();
  const auto serve = [&](const std::string& path, const std::string& body, int status) {
    client->answer(url(path), QuillonURLData{.body = body,
                                             .response = {.url = url(path),
                                                          .httpStatusCode = status,
                                                          .expectedContentLength = static_cast<int>(body.size()),
                                                          .headerFields = {{"X-Quillon", "yes"}}}});
  };
  serve("/feed", kFeed, 200);
  serve("/large", kLargeFeed, 200);
  serve("/empty", "", 200);
  serve("/missing", "Not Found", 404);
  return {.client = client, .url = url};
}

struct Implementation {
  friend void PrintTo(const Implementation& implementation, std::ostream* out) { *out << implementation.name; }

  std::string name;
  std::function<Web()> make;
};

class QuillonNetworkClientContract : public ::testing::TestWithParam<Implementation> {
 protected:
  QuillonURLData load(const std::string& path, std::stop_token stopToken = {}) const {
    return web_.client->data({.url = web_.url(path)}, std::move(stopToken));
  }

  Web web_ = GetParam().make();
};

TEST_P(QuillonNetworkClientContract, ABodyComesWithItsResponse) {
  const QuillonURLData data = load("/feed");

  EXPECT_EQ(data.body, kFeed);
  EXPECT_EQ(data.response.url, web_.url("/feed"));
  EXPECT_EQ(data.response.httpStatusCode, 200);
  EXPECT_EQ(data.response.expectedContentLength, 8);
  EXPECT_EQ(data.response.valueForHeaderField("x-quillon"), "yes");
}

TEST_P(QuillonNetworkClientContract, ALargeBodyIsWhole) {
  EXPECT_EQ(load("/large").body, kLargeFeed);
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

  EXPECT_EQ(load("/feed", stop.get_token()).body, kFeed);
}

TEST_P(QuillonNetworkClientContract, SeveralThreadsMayLoadAtOnce) {
  std::vector<std::string> bodies(4);
  std::vector<std::thread> threads;

  for (std::string& body : bodies) threads.emplace_back([&] { body = load("/large").body; });
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(bodies, std::vector<std::string>(4, kLargeFeed));
}

INSTANTIATE_TEST_SUITE_P(Clients, QuillonNetworkClientContract,
                         ::testing::Values(Implementation{"URLSession", makeServerWeb},
                                           Implementation{"Fake", makeFakeWeb}),
                         [](const auto& testCase) { return testCase.param.name; });

}  // namespace
}  // namespace quillon
