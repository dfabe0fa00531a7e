#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionInstallerNetworkClient.h"
#include "Support/FakeURLTransfers.h"
#include "Support/ScopedMount.h"
#include "Support/UpdateInstallationWorld.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::ScopedMount;

constexpr std::size_t kArchiveBytes = 400'000;

/// Updates whose archive is kept on disk while it arrives, with working folders on volumes of a size that a test gives.
/// The parameter says whether the server announces the length.
class FullVolumeUpdateTest : public ::testing::TestWithParam<bool> {
 protected:
  FullVolumeUpdateTest() {
    fs::create_directories(world_.support);
    world_.unzipper->content = [](const fs::path& destination, const std::stop_token&) {
      testing::writeFile(destination / "Example.pkg", "");
      fs::permissions(destination / "Example.pkg", fs::perms::owner_read | fs::perms::owner_write);
      return true;
    };
    world_.network->answers["https://example.org/first/Example.zip"] =
        [this](const VeskUpdateInstallerDownloadProgressHandler& progress, const std::stop_token& stopToken) {
          return client().data(*QuillonURL::parse("https://example.org/first/Example.zip"), progress, stopToken);
        };
  }
  [[nodiscard]] VeskUpdateURLSessionInstallerNetworkClient client() const {
    auto transfers = std::make_shared<testing::FakeURLTransfers>([](const auto& request, auto& receiver, const auto&) {
      const auto length = static_cast<std::int64_t>(kArchiveBytes);
      receiver.didReceiveResponse(
          {.url = request.url, .httpStatusCode = 200, .expectedContentLength = GetParam() ? length : -1});
      for (std::size_t i = 0; i < kArchiveBytes; i += kPiece.size()) receiver.didReceiveData(kPiece);
    });
    return {std::move(transfers), [this] {
              return makeSystemDownloadBuffer(
                  {QuillonURL::fileURL(world_.support.string()), QuillonURL::fileURL(world_.temporary.string())});
            }};
  }
  VeskUpdateInstallerRequest requestWithFallback() const {
    VeskUpdateInstallerRequest request = world_.installerRequest();
    request.fallbackArchiveURL = QuillonURL::parse("https://example.org/second/Example.zip");
    return request;
  }

  static inline const std::string kPiece = std::string(40'000, 'z');
  testing::UpdateInstallationWorld world_;
};

TEST_P(FullVolumeUpdateTest, ApplicationSupportWithoutRoomIsFollowedByTheTemporaryFolder) {
  const ScopedMount support(world_.support, "size=100k");
  if (!support) GTEST_SKIP() << "no volume can be mounted here";

  EXPECT_EQ(world_.install(requestWithFallback()), "done");

  EXPECT_THAT(world_.network->requested, ElementsAre("https://example.org/first/Example.zip"));
  EXPECT_THAT(world_.unzipper->archivePaths, ElementsAre(world_.temporary / "Example.zip"));
  EXPECT_EQ(world_.unzipper->archiveContents.front().size(), kArchiveBytes);
}

TEST_P(FullVolumeUpdateTest, WithoutRoomAnywhereTheUpdateIsWriteFailed) {
  const ScopedMount support(world_.support, "size=100k");
  const ScopedMount temporary(world_.temporary, "size=200k,mode=1777");
  if (!support || !temporary) GTEST_SKIP() << "no volume can be mounted here";

  EXPECT_EQ(world_.install(requestWithFallback()), "writeFailed");

  EXPECT_THAT(world_.network->requested, ElementsAre("https://example.org/first/Example.zip"));
  EXPECT_THAT(world_.leftBehind(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Lengths, FullVolumeUpdateTest, ::testing::Bool(),
                         [](const auto& run) { return run.param ? "Announced" : "Unknown"; });

}  // namespace
}  // namespace quillon
