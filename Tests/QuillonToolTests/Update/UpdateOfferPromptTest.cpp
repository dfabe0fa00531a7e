#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>

#include "QuillonCore/Runtime/QuillonMainThreadCall.h"
#include "QuillonTool/Update/UpdateOfferPrompt.h"
#include "QuillonToolTests/Update/UpdateCommandWorld.h"

namespace quillon {
namespace {

using Action = VeskUpdatePromptAction;
using ::testing::HasSubstr;

class UpdateOfferPromptTest : public ::testing::Test {
 protected:
  /// What is chosen when `afterPresenting` has run on the main thread; absent when the wait was cancelled.
  std::optional<Action> choose(const std::function<void()>& afterPresenting = [] {}) {
    std::optional<Action> action;
    world_.callStep([&](const ApplicationSession& session) {
      UpdateOfferPrompt prompt(session, "Faster.");
      onMainThread(*world_.world.mainThread, [&] {
        prompt.present(entry_);
        afterPresenting();
      });
      action = prompt.waitForAction();
    });
    return action;
  }

  testing::UpdateStepWorld world_;
  const QuillonPropertyListValue::Dictionary entry_ =
      testing::UpdateCommandWorld::dictionaryOf(testing::UpdateCommandWorld::offer());
};

TEST_F(UpdateOfferPromptTest, TheOfferIsShownWithItsNotes) {
  EXPECT_EQ(choose(), Action::install(entry_));

  EXPECT_THAT(
      world_.printed(),
      HasSubstr("Example 2.0\nA new version is available!\nExample version 2.0 is now available － you have 1.0. "
                "Would you like to download it now?\nRelease Notes: https://example.org/notes.html\n  | Faster.\n"
                "  1) Install Update\n  2) Remind Me Later\n  3) Skip This Update\n"));
}

TEST_F(UpdateOfferPromptTest, NobodyIsRemindedLater) {
  world_.answering = UpdateAnswering::byNobody;

  EXPECT_EQ(choose(), Action::remindLater("update"));
}

TEST_F(UpdateOfferPromptTest, TheUserChoosesByKey) {
  world_.answering = UpdateAnswering::byKeys;

  EXPECT_EQ(choose([this] { world_.terminal->keyPressed('3'); }), Action::dismissed());
}

TEST_F(UpdateOfferPromptTest, AStopEndsTheWait) {
  world_.answering = UpdateAnswering::byKeys;

  EXPECT_EQ(choose([this] { world_.stopSource.request_stop(); }), std::nullopt);
}

}  // namespace
}  // namespace quillon
