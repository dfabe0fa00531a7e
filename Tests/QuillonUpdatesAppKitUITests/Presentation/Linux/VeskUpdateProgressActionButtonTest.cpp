#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <memory>

#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateProgressActionButton.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/VirtualDesktop.h"

namespace quillon {
namespace {

void press(Gtk::Button& button) {
  g_signal_emit_by_name(button.gobj(), "clicked");
}

class VeskUpdateProgressActionButtonTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { testing::VirtualDesktop::shared(); }

  std::unique_ptr<VeskUpdateProgressActionButton> button_ = std::make_unique<VeskUpdateProgressActionButton>();
};

TEST_F(VeskUpdateProgressActionButtonTest, APressDisablesTheButtonAndThenCallsItsHandler) {
  int calls = 0;
  bool wasEnabled = true;
  button_->actionHandler = [&] {
    ++calls;
    wasEnabled = button_->get_sensitive();
  };

  press(*button_);

  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(wasEnabled);
}

TEST_F(VeskUpdateProgressActionButtonTest, APressWithoutHandlerDisablesTheButton) {
  press(*button_);

  EXPECT_FALSE(button_->get_sensitive());
}

TEST_F(VeskUpdateProgressActionButtonTest, TheHandlerMayReplaceItself) {
  int first = 0;
  int second = 0;
  button_->actionHandler = [&] {
    ++first;
    button_->actionHandler = [&second] { ++second; };
  };

  press(*button_);
  press(*button_);

  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 1);
}

TEST_F(VeskUpdateProgressActionButtonTest, TheHandlerMayDestroyTheButton) {
  button_->actionHandler = [this] { button_.reset(); };

  press(*button_);

  EXPECT_EQ(button_, nullptr);
}

}  // namespace
}  // namespace quillon
