// The promises of a client of the network, held by URL sessions: one with a delegate, and the one that is shared.

#include <map>
#include <memory>
#include <string>

#include "Contracts/QuillonNetworkClientContract.h"
#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Network/QuillonURLSessionNetworkClient.h"
#include "Support/CannedWebServer.h"

namespace quillon {
namespace {

testing::Web makeWeb(std::shared_ptr<const QuillonURLTransferring> transfers) {
  const auto server = std::make_shared<testing::CannedWebServer>(
      std::map<std::string, std::string>{{"/feed", testing::kFeed}, {"/large", testing::kLargeFeed}, {"/empty", ""}});
  return {.client = std::make_shared<QuillonURLSessionNetworkClient>(std::move(transfers)),
          .url = [server](const std::string& path) { return server->url(path); }};
}

INSTANTIATE_TEST_SUITE_P(
    Apple, QuillonNetworkClientContract,
    ::testing::Values(
        testing::NetworkClientImplementation{"SessionWithDelegate", [] { return makeWeb(makeSystemURLTransfers()); }},
        testing::NetworkClientImplementation{"SharedSession", [] { return makeWeb(makeSharedURLTransfers()); }}),
    [](const auto& testCase) { return testCase.param.name; });

}  // namespace
}  // namespace quillon
