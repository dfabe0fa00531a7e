#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKAlertRunner.h"

#include <gdk/gdkkeysyms.h>
#include <gdkmm/display.h>
#include <glib.h>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/icontheme.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/textview.h>
#include <gtkmm/window.h>
#include <gtkmm/windowhandle.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKDescendant.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKText.h"

namespace quillon {
namespace {

namespace Identifiers = VeskUpdateAlertIdentifiers;

constexpr double kTextWidth = 340;
constexpr double kLongBodyHeight = 200;
constexpr int kMargin = 24;
constexpr int kMarginBelowStrip = 6;
constexpr int kSpacing = 12;
constexpr int kIconSize = 56;
constexpr int kTitleLines = 4;
constexpr int kCheckboxLines = 3;
constexpr int kLongestButtonTitle = 32;
/// So that a short title is no small target.
constexpr double kSmallestButtonWidth = 84;
/// What an alert shows as a whole: in bytes, and in lines that the text itself has.
constexpr std::size_t kLongestBody = 400;
constexpr std::ptrdiff_t kMostBodyLines = 8;

class AlertWindow {
 public:
  explicit AlertWindow(const VeskUpdateAlert& alert) {
    setAccessibilityIdentifier(window_, Identifiers::window);
    window_.property_accessible_role() = Gtk::Accessible::Role::ALERT_DIALOG;
    setAccessibilityDescription(window_, alert.body);
    window_.set_title(alert.title);
    window_.set_modal(true);
    window_.set_resizable(false);
    window_.set_deletable(false);
    if (Gtk::Window* const front = windowInFront()) window_.set_transient_for(*front);
    // As themes draw alerts: the strip that moves the window has no look of its own.
    for (const char* const styleClass : {"dialog", "message"}) window_.add_css_class(styleClass);
    auto* const strip = Gtk::make_managed<Gtk::WindowHandle>();
    strip->add_css_class("titlebar");
    window_.set_titlebar(*strip);

    auto* const row = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, kMargin);
    row->set_margin(kMargin);
    row->set_margin_top(kMarginBelowStrip);
    row->append(makeIcon(alert.style));
    auto* const column = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, kSpacing);
    column->set_size_request(scaledToText(kTextWidth), -1);
    addTexts(*column, alert);
    addButtons(*column, alert);
    row->append(*column);
    window_.set_child(*row);
    // Only what is in the window can have its keyboard.
    window_.set_default_widget(*defaultButton_);
    window_.set_focus(*defaultButton_);
    listen();
  }

  ~AlertWindow() { g_main_loop_unref(loop_); }

  AlertWindow(const AlertWindow&) = delete;
  AlertWindow& operator=(const AlertWindow&) = delete;

  VeskUpdateAlertAnswer run() {
    window_.present();
    g_main_loop_run(loop_);
    window_.set_visible(false);
    if (checkbox_ != nullptr) answer_.isSuppressionCheckboxOn = checkbox_->get_active();
    return answer_;
  }

 private:
  static Gtk::Window* windowInFront() {
    for (Gtk::Window* const window : Gtk::Window::list_toplevels()) {
      if (window->get_visible() && window->is_active()) return window;
    }
    return nullptr;
  }

  /// The application's, so that users see who speaks; without one that of the style.
  static std::string iconName(VeskUpdateAlertStyle style) {
    std::string ofApplication = Gtk::Window::get_default_icon_name();
    const auto icons = Gtk::IconTheme::get_for_display(Gdk::Display::get_default());
    if (!ofApplication.empty() && icons->has_icon(ofApplication)) return ofApplication;
    return style == VeskUpdateAlertStyle::warning ? "dialog-warning" : "dialog-information";
  }

  static Gtk::Widget& makeIcon(VeskUpdateAlertStyle style) {
    auto* const icon = Gtk::make_managed<Gtk::Image>();
    hideFromScreenReaders(*icon);
    icon->set_from_icon_name(iconName(style));
    icon->set_pixel_size(scaledToText(kIconSize));
    icon->set_valign(Gtk::Align::START);
    return *icon;
  }

  /// A label would be measured as a whole, again and again, and the keyboard could not scroll it.
  static bool needsScroller(const std::string& body) {
    return body.size() > kLongestBody || std::ranges::count(body, '\n') > kMostBodyLines;
  }

  /// Whatever a server or a tool has said, it can be read to its end, unless a line has none.
  static Gtk::Widget& makeScroller(const std::string& text) {
    auto* const body = Gtk::make_managed<Gtk::TextView>();
    setAccessibilityIdentifier(*body, Identifiers::bodyLabel);
    showToRead(*body, text);
    auto* const scroller = Gtk::make_managed<Gtk::ScrolledWindow>();
    scroller->set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    scroller->set_min_content_height(scaledToText(kLongBodyHeight));
    scroller->set_child(*body);
    return *scroller;
  }

  static Gtk::Widget& makeBody(const std::string& text) {
    if (needsScroller(text)) return makeScroller(text);
    auto* const body = Gtk::make_managed<Gtk::Label>();
    setAccessibilityIdentifier(*body, Identifiers::bodyLabel);
    showInLines(*body, text, -1);
    body->set_ellipsize(Pango::EllipsizeMode::NONE);
    body->set_yalign(0);
    body->set_visible(!text.empty());
    return *body;
  }

  /// A title of its own for the checkbox breaks into lines, as GTK's would not.
  Gtk::Widget& makeCheckbox(const VeskUpdateAlert::SuppressionCheckbox& checkbox) {
    auto* const title = Gtk::make_managed<Gtk::Label>();
    showInLines(*title, checkbox.title, kCheckboxLines);
    checkbox_ = Gtk::make_managed<Gtk::CheckButton>();
    setAccessibilityIdentifier(*checkbox_, Identifiers::suppressionCheckbox);
    setAccessibilityLabel(*checkbox_, checkbox.title);
    checkbox_->set_child(*title);
    checkbox_->set_active(checkbox.isOn);
    return *checkbox_;
  }

  void addTexts(Gtk::Box& column, const VeskUpdateAlert& alert) {
    auto* const title = Gtk::make_managed<Gtk::Label>();
    setAccessibilityIdentifier(*title, Identifiers::titleLabel);
    showInLines(*title, alert.title, kTitleLines);
    useLabelFont(*title);
    column.append(*title);

    column.append(makeBody(alert.body));
    if (alert.suppressionCheckbox) column.append(makeCheckbox(*alert.suppressionCheckbox));
  }

  /// The default button stands at the end of the row.
  void addButtons(Gtk::Box& column, const VeskUpdateAlert& alert) {
    auto* const row = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, kSpacing);
    row->set_halign(Gtk::Align::END);
    row->set_margin_top(kSpacing);
    const std::vector<std::string> titles =
        alert.buttons.empty() ? std::vector{alert.defaultButtonTitle} : alert.buttons;
    for (std::size_t index = 0; index < titles.size(); ++index) {
      auto* const button = Gtk::make_managed<Gtk::Button>();
      setAccessibilityIdentifier(*button, std::string(Identifiers::button).append(std::to_string(index)));
      showButtonTitle(*button, titles[index], kLongestButtonTitle);
      button->set_size_request(scaledToText(kSmallestButtonWidth), -1);
      button->signal_clicked().connect([this, index] { end(index); });
      row->prepend(*button);
      if (index == 0) {
        button->add_css_class("suggested-action");
        defaultButton_ = button;
      }
    }
    lastButton_ = titles.size() - 1;
    column.append(*row);
  }

  void listen() {
    window_.signal_close_request().connect(
        [this] {
          end(std::nullopt);
          return true;
        },
        false);
    const auto keys = Gtk::EventControllerKey::create();
    keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    keys->signal_key_pressed().connect(
        [this](guint key, guint /*code*/, Gdk::ModifierType /*modifiers*/) {
          if (key != GDK_KEY_Escape) return false;
          end(lastButton_);
          return true;
        },
        false);
    window_.add_controller(keys);
  }

  void end(std::optional<std::size_t> pressedButton) {
    if (g_main_loop_is_running(loop_) == FALSE) return;
    answer_.pressedButton = pressedButton;
    g_main_loop_quit(loop_);
  }

  GMainLoop* const loop_ = g_main_loop_new(nullptr, FALSE);
  Gtk::Window window_;
  Gtk::CheckButton* checkbox_ = nullptr;  // the window's
  Gtk::Button* defaultButton_ = nullptr;  // the window's
  std::size_t lastButton_ = 0;
  VeskUpdateAlertAnswer answer_;
};

}  // namespace

VeskUpdateAlertAnswer VeskUpdateGTKAlertRunner::run(const VeskUpdateAlert& alert) {
  return AlertWindow(alert).run();
}

}  // namespace quillon
