#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateWorkspaceInstallerLauncher.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;

class FakeWorkspace final : public QuillonWorkspaceOpening {
 public:
  [[nodiscard]] bool open(const QuillonURL& url) noexcept override {
    opened.push_back(url);
    return answer;
  }

  bool answer = true;
  std::vector<QuillonURL> opened;
};

TEST(VeskUpdateWorkspaceInstallerLauncherTest, TheWorkspaceOpensTheDocumentAndItsAnswerCounts) {
  const auto workspace = std::make_shared<FakeWorkspace>();
  VeskUpdateWorkspaceInstallerLauncher launcher(workspace);
  const QuillonURL document = QuillonURL::fileURL("/tmp/Example.pkg");

  EXPECT_TRUE(launcher.open(document));
  workspace->answer = false;
  EXPECT_FALSE(launcher.open(document));

  EXPECT_THAT(workspace->opened, ElementsAre(document, document));
}

}  // namespace
}  // namespace quillon
