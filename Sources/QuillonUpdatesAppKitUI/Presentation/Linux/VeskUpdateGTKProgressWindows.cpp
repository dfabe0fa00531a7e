#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKProgressWindows.h"

#include <gtk/gtk.h>
#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <gtkmm/progressbar.h>
#include <gtkmm/window.h>

#include <functional>
#include <string_view>
#include <utility>

#include "QuillonCore/Text/QuillonPlainText.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKDescendant.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKFloating.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKText.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateProgressActionButton.h"

namespace quillon {
namespace {

namespace Identifiers = VeskUpdateProgressWindowIdentifiers;

constexpr double kContentWidth = 420;
constexpr double kContentHeight = 132;
constexpr int kMargin = 20;
constexpr int kSpacing = 6;
constexpr int kBarHeight = 16;
constexpr int kLongestButtonTitle = 40;
constexpr unsigned kPulseMilliseconds = 80;

Gtk::Label* makeLabel(std::string_view identifier) {
  auto* const label = Gtk::make_managed<Gtk::Label>();
  setAccessibilityIdentifier(*label, identifier);
  showInOneLine(*label, "");
  return label;
}

/// An empty row would still take its share of the spacing.
void setVisibleWithRow(Gtk::Button& button, bool isVisible) {
  button.set_visible(isVisible);
  button.get_parent()->set_visible(isVisible);
}

class ProgressWindow final : public VeskUpdateProgressWindow {
 public:
  explicit ProgressWindow(const std::string& windowTitle) {
    window_.set_title(singleLineText(windowTitle));
    window_.set_resizable(false);
    window_.set_deletable(false);
    auto& titleBar = makeTitleBar(windowTitle);
    titleBar.set_show_title_buttons(false);
    window_.set_titlebar(titleBar);
    // Keys and window managers can ask for it even where there is no control.
    window_.signal_close_request().connect([] { return true; }, false);
    content_ = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL);
    content_->set_size_request(scaledToText(kContentWidth), scaledToText(kContentHeight));
    window_.set_child(*content_);
    keepFloating(window_);
  }

  ~ProgressWindow() override { stopAnimation(); }

  ProgressWindow(const ProgressWindow&) = delete;
  ProgressWindow& operator=(const ProgressWindow&) = delete;

  [[nodiscard]] bool hasProgressContent() const override { return bar() != nullptr; }

  void configureProgressContent() override {
    stopAnimation();
    while (Gtk::Widget* const child = content_->get_first_child()) content_->remove(*child);

    auto* const titleLabel = makeLabel(Identifiers::titleLabel);
    useLabelFont(*titleLabel);
    auto* const statusLabel = makeLabel(Identifiers::statusLabel);
    useStatusFont(*statusLabel);
    statusLabel->set_visible(false);
    auto* const bar = Gtk::make_managed<Gtk::ProgressBar>();
    setAccessibilityIdentifier(*bar, Identifiers::progressIndicator);
    setAccessibilityLabelledBy(*bar, *titleLabel);
    bar->set_size_request(-1, kBarHeight);
    auto* const button = Gtk::make_managed<VeskUpdateProgressActionButton>();
    setAccessibilityIdentifier(*button, Identifiers::actionButton);
    button->add_css_class("suggested-action");

    auto* const buttonRow = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL);
    buttonRow->append(*button);
    setVisibleWithRow(*button, false);
    auto* const column = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, kSpacing);
    column->set_margin_start(kMargin);
    column->set_margin_end(kMargin);
    column->set_valign(Gtk::Align::CENTER);
    column->set_vexpand(true);
    column->append(*titleLabel);
    column->append(*statusLabel);
    column->append(*bar);
    column->append(*buttonRow);
    content_->append(*column);
    showIndeterminateProgress();
  }

  void setTitleText(const std::string& text) override {
    if (auto* const label = find<Gtk::Label>(Identifiers::titleLabel)) showInOneLine(*label, text);
  }

  void setStatusText(const std::string& text) override {
    if (auto* const label = find<Gtk::Label>(Identifiers::statusLabel)) showInOneLine(*label, text);
  }

  void setStatusHidden(bool hidden) override {
    if (auto* const label = find<Gtk::Label>(Identifiers::statusLabel)) label->set_visible(!hidden);
  }

  void showDeterminateProgress(double fraction) override {
    isIndeterminate_ = false;
    stopAnimation();
    if (auto* const found = bar()) found->set_fraction(fraction);
  }

  void showIndeterminateProgress() override {
    auto* const found = bar();
    if (found == nullptr) return;
    isIndeterminate_ = true;
    found->set_fraction(0);
    // This is what makes a bar indeterminate, moving or not.
    found->pulse();
    // A block that stood still would look as if the work did.
    if (window_.get_visible()) startAnimation();
  }

  void hideAndDisableActionButton() override {
    auto* const button = find<VeskUpdateProgressActionButton>(Identifiers::actionButton);
    if (button == nullptr) return;
    button->set_sensitive(false);
    setVisibleWithRow(*button, false);
  }

  void showActionButton(const std::string& title, std::function<void()> action) override {
    auto* const button = find<VeskUpdateProgressActionButton>(Identifiers::actionButton);
    if (button == nullptr) return;
    showButtonTitle(*button, title, kLongestButtonTitle);
    button->actionHandler = std::move(action);
    setVisibleWithRow(*button, true);
    button->set_sensitive(true);
    window_.set_default_widget(*button);
    button->grab_focus();
  }

  void show() override {
    window_.present();
    if (isIndeterminate_) startAnimation();
  }
  void close() override {
    stopAnimation();
    window_.set_visible(false);
  }

 private:
  template <typename Type>
  [[nodiscard]] Type* find(std::string_view identifier) const {
    return veskUpdateProgressDescendant<Type>(*content_, identifier);
  }
  [[nodiscard]] Gtk::ProgressBar* bar() const { return find<Gtk::ProgressBar>(Identifiers::progressIndicator); }

  /// Where the user wants no animations the bar stands still.
  void startAnimation() {
    if (animation_ != 0) return;
    gboolean isWanted = TRUE;
    g_object_get(gtk_settings_get_default(), "gtk-enable-animations", &isWanted, nullptr);
    if (isWanted == FALSE) return;
    animation_ = g_timeout_add(
        kPulseMilliseconds,
        [](gpointer window) -> gboolean {
          if (auto* const bar = static_cast<ProgressWindow*>(window)->bar()) bar->pulse();
          return G_SOURCE_CONTINUE;
        },
        this);
  }

  void stopAnimation() {
    if (animation_ != 0) g_source_remove(std::exchange(animation_, 0));
  }

  Gtk::Window window_;
  Gtk::Box* content_ = nullptr;  // the window's
  bool isIndeterminate_ = true;
  guint animation_ = 0;
};

}  // namespace

std::shared_ptr<VeskUpdateProgressWindow> VeskUpdateGTKProgressWindows::makeProgressWindow(
    const std::string& windowTitle) {
  return std::make_shared<ProgressWindow>(windowTitle);
}

}  // namespace quillon
