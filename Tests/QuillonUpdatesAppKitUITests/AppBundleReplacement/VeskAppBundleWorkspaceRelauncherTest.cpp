#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleWorkspaceRelauncher.h"

namespace quillon {
namespace {

class FakeWorkspace final : public QuillonWorkspaceOpening {
 public:
  [[nodiscard]] bool open(const QuillonURL& item) noexcept override {
    opened.push_back(item);
    return answer;
  }
  bool answer = true;
  std::vector<QuillonURL> opened;
};

TEST(VeskAppBundleWorkspaceRelauncherTest, OpensTheBundleAndPassesTheAnswerOn) {
  const auto workspace = std::make_shared<FakeWorkspace>();
  VeskAppBundleWorkspaceRelauncher relauncher(workspace);
  const QuillonURL bundle = QuillonURL::fileURL("/Applications/Example.app");

  EXPECT_TRUE(relauncher.relaunchApplication(bundle));
  workspace->answer = false;
  EXPECT_FALSE(relauncher.relaunchApplication(bundle));

  EXPECT_THAT(workspace->opened, ::testing::ElementsAre(bundle, bundle));
}

}  // namespace
}  // namespace quillon
