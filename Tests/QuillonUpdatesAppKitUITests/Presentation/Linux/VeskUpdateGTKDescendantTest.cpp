#include <gtest/gtest.h>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>

#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKDescendant.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/VirtualDesktop.h"

namespace quillon {
namespace {

class VeskUpdateGTKDescendantTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { testing::VirtualDesktop::shared(); }
};

TEST_F(VeskUpdateGTKDescendantTest, TheFirstViewBelowWithTypeAndIdentifierIsFoundAtAnyDepth) {
  Gtk::Box root;
  Gtk::Box inner;
  Gtk::Label first;
  Gtk::Label second;
  Gtk::Button button;
  root.append(inner);
  inner.append(button);
  inner.append(first);
  root.append(second);
  for (Gtk::Widget* view :
       {static_cast<Gtk::Widget*>(&first), static_cast<Gtk::Widget*>(&second), static_cast<Gtk::Widget*>(&button)}) {
    setAccessibilityIdentifier(*view, "part");
  }

  EXPECT_EQ(veskUpdateProgressDescendant<Gtk::Label>(root, "part"), &first);
  EXPECT_EQ(veskUpdateProgressDescendant<Gtk::Button>(root, "part"), &button);
}

TEST_F(VeskUpdateGTKDescendantTest, NothingIsFoundWithAnotherTypeOrIdentifierOrAtTheRoot) {
  Gtk::Box root;
  Gtk::Label label;
  root.append(label);
  setAccessibilityIdentifier(root, "root");
  setAccessibilityIdentifier(label, "label");

  EXPECT_EQ(veskUpdateProgressDescendant<Gtk::Button>(root, "label"), nullptr);
  EXPECT_EQ(veskUpdateProgressDescendant<Gtk::Label>(root, "other"), nullptr);
  EXPECT_EQ(veskUpdateProgressDescendant<Gtk::Box>(root, "root"), nullptr);
}

}  // namespace
}  // namespace quillon
