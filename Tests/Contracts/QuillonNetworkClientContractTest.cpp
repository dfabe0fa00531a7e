// The promises of a client of the network, held against a web server and by the client that tests fill by hand.

#include <functional>
#include <memory>
#include <string>

#include "Contracts/QuillonNetworkClientContract.h"
#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Network/QuillonURLSessionNetworkClient.h"
#include "Support/FakeNetworkClient.h"
#include "Support/NginxServer.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::FakeNetworkClient;
using testing::kFeed;
using testing::kLargeFeed;
using testing::NetworkClientImplementation;
using testing::NginxServer;
using testing::Web;

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

INSTANTIATE_TEST_SUITE_P(Clients, QuillonNetworkClientContract,
                         ::testing::Values(NetworkClientImplementation{"URLSession", makeServerWeb},
                                           NetworkClientImplementation{"Fake", makeFakeWeb}),
                         [](const auto& testCase) { return testCase.param.name; });

}  // namespace
}  // namespace quillon
