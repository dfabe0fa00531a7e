#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKPromptWindows.h"

#include <gdk/gdkkeysyms.h>
#include <gtk/gtk.h>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/frame.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/window.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKDescendant.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKReleaseNotesView.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKText.h"

namespace quillon {
namespace {

namespace Identifiers = VeskUpdatePromptWindowIdentifiers;
using PageScripts = VeskUpdateGTKPromptWindows::PageScripts;

constexpr int kMargin = 20;
/// Between heading, page and buttons.
constexpr int kSectionSpacing = 18;
constexpr int kSpacing = 12;
constexpr int kLogoSize = 64;
constexpr int kDescriptionLines = 4;
constexpr int kSmallestPageHeight = 80;
constexpr int kLongestButtonTitle = 28;
/// Of the screen that a window may cover in either direction.
constexpr double kShareOfScreen = 0.9;

/// Puts the image `name` into `image`. False when there is none.
bool setLogo(Gtk::Image& image, const QuillonURL& folder, const std::string& name) {
  if (name.empty()) return false;
  for (const char* extension : {".svg", ".png"}) {
    const std::string file = folder.appendingPathComponent(name + extension).path();
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) continue;
    image.set(file);
    return true;
  }
  GtkIconTheme* const icons = gtk_icon_theme_get_for_display(gdk_display_get_default());
  if (gtk_icon_theme_has_icon(icons, name.c_str()) == FALSE) return false;
  image.set_from_icon_name(name);
  return true;
}

/// `size` in pixels, no larger than the smallest screen leaves room for.
std::pair<int, int> sizeOnScreen(const VeskUpdatePromptWindowSize& size) {
  int width = scaledToText(size.width);
  int height = scaledToText(size.height);
  GListModel* const monitors = gdk_display_get_monitors(gdk_display_get_default());
  for (guint i = 0; i < g_list_model_get_n_items(monitors); ++i) {
    auto* const monitor = GDK_MONITOR(g_list_model_get_item(monitors, i));
    GdkRectangle screen{};
    gdk_monitor_get_geometry(monitor, &screen);
    g_object_unref(monitor);
    width = std::min(width, static_cast<int>(screen.width * kShareOfScreen));
    height = std::min(height, static_cast<int>(screen.height * kShareOfScreen));
  }
  return {width, height};
}

int smallest(GtkWidget* widget, GtkOrientation orientation) {
  int size = 0;
  gtk_widget_measure(widget, orientation, -1, &size, nullptr, nullptr, nullptr);
  return size;
}

/// Gives the content of `window` its size: what a window is told includes its frame and title bar.
void setContentSize(Gtk::Window& window, Gtk::Widget& titleBar, std::pair<int, int> size) {
  GtkWidget* const content = window.get_child()->gobj();
  const int frameWidth =
      smallest(GTK_WIDGET(window.gobj()), GTK_ORIENTATION_HORIZONTAL) -
      std::max(smallest(content, GTK_ORIENTATION_HORIZONTAL), smallest(titleBar.gobj(), GTK_ORIENTATION_HORIZONTAL));
  const int frameHeight =
      smallest(GTK_WIDGET(window.gobj()), GTK_ORIENTATION_VERTICAL) - smallest(content, GTK_ORIENTATION_VERTICAL);
  window.set_default_size(size.first + std::max(frameWidth, 0), size.second + std::max(frameHeight, 0));
}

class PromptWindow;

/// The widgets of a prompt. They outlive the prompt until the toolkit is done with what it was calling, and can still
/// be clicked until then.
class PromptWidgets {
 public:
  PromptWidgets(const VeskUpdatePromptContent& content, const QuillonURL& imagesFolder, PageScripts pageScripts,
                VeskUpdateGTKReleaseNotesView::ShouldNavigate shouldNavigate)
      : page(pageScripts == PageScripts::allowed, std::move(shouldNavigate)) {
    setAccessibilityIdentifier(window, Identifiers::window);
    window.property_accessible_role() = Gtk::Accessible::Role::DIALOG;
    setAccessibilityDescription(window, content.description);
    window.set_title(content.windowTitle);
    auto& titleBar = makeTitleBar(content.windowTitle);
    titleBar.set_decoration_layout(":close");
    window.set_titlebar(titleBar);
    window.set_child(column_);
    column_.set_margin(kMargin);
    column_.append(makeHeading(content, imagesFolder));
    column_.append(makePage(content));
    column_.append(makeButtons(content));
    setContentSize(window, titleBar, sizeOnScreen(content.size));
    chooseFocus(content);
  }

  /// Whose widgets these are; null when it is gone.
  PromptWindow* prompt = nullptr;
  Gtk::Window window;
  VeskUpdateGTKReleaseNotesView page;
  Gtk::Button installButton;
  Gtk::Button remindLaterButton;
  Gtk::Button dismissButton;

 private:
  Gtk::Widget& makeHeading(const VeskUpdatePromptContent& content, const QuillonURL& imagesFolder) {
    auto* const row = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, kSectionSpacing);
    auto* const logo = Gtk::make_managed<Gtk::Image>();
    setAccessibilityIdentifier(*logo, Identifiers::logoImage);
    hideFromScreenReaders(*logo);
    logo->set_pixel_size(scaledToText(kLogoSize));
    logo->set_valign(Gtk::Align::START);
    logo->set_visible(setLogo(*logo, imagesFolder, content.logoImageName));
    row->append(*logo);

    auto* const texts = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, kSpacing / 2);
    texts->set_valign(Gtk::Align::CENTER);
    auto* const headline = Gtk::make_managed<Gtk::Label>();
    setAccessibilityIdentifier(*headline, Identifiers::titleLabel);
    showInLines(*headline, content.headline, 2);
    useHeadlineFont(*headline);
    auto* const description = Gtk::make_managed<Gtk::Label>();
    setAccessibilityIdentifier(*description, Identifiers::descriptionLabel);
    showInLines(*description, content.description, kDescriptionLines);
    texts->append(*headline);
    texts->append(*description);
    row->append(*texts);
    return *row;
  }

  Gtk::Widget& makePage(const VeskUpdatePromptContent& content) {
    auto* const column = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, kSpacing / 2);
    auto* const label = Gtk::make_managed<Gtk::Label>();
    setAccessibilityIdentifier(*label, Identifiers::releaseNotesLabel);
    showInOneLine(*label, content.releaseNotesTitle);
    useLabelFont(*label);
    setAccessibilityIdentifier(page, Identifiers::releaseNotesView);
    page.nameForScreenReaders(content.releaseNotesTitle);
    page.set_size_request(-1, kSmallestPageHeight);
    auto* const frame = Gtk::make_managed<Gtk::Frame>();
    frame->set_child(page);
    frame->set_vexpand(true);
    column->append(*label);
    column->append(*frame);
    return *column;
  }

  Gtk::Widget& makeButtons(const VeskUpdatePromptContent& content) {
    auto* const row = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, kSpacing);
    auto* const space = Gtk::make_managed<Gtk::Box>();
    space->set_hexpand(true);
    prepare(dismissButton, Identifiers::dismissButton, content.dismissButtonTitle);
    prepare(remindLaterButton, Identifiers::remindLaterButton, content.remindLaterButtonTitle);
    row->append(dismissButton);
    row->append(*space);
    row->append(remindLaterButton);
    if (content.installButtonTitle) {
      prepare(installButton, Identifiers::installButton, *content.installButtonTitle);
      installButton.add_css_class("suggested-action");
      row->append(installButton);
    }
    return *row;
  }

  static void prepare(Gtk::Button& button, std::string_view identifier, const std::string& title) {
    setAccessibilityIdentifier(button, identifier);
    showButtonTitle(button, title, kLongestButtonTitle);
  }

  void chooseFocus(const VeskUpdatePromptContent& content) {
    if (!content.defaultButton) {
      window.set_focus(*page.get_visible_child());
      return;
    }
    Gtk::Button& button = *content.defaultButton == VeskUpdatePromptButton::install       ? installButton
                          : *content.defaultButton == VeskUpdatePromptButton::remindLater ? remindLaterButton
                                                                                          : dismissButton;
    window.set_default_widget(button);
    window.set_focus(button);
  }

  Gtk::Box column_{Gtk::Orientation::VERTICAL, kSectionSpacing};
};

class PromptWindow final : public VeskUpdatePromptWindow {
 public:
  PromptWindow(const VeskUpdatePromptContent& content, const QuillonURL& imagesFolder, PageScripts pageScripts,
               VeskUpdatePromptWindowDelegate& delegate)
      : delegate_(delegate),
        releaseNotesURL_(content.releaseNotesURL),
        widgets_(std::make_unique<PromptWidgets>(content, imagesFolder, pageScripts,
                                                 [this](const VeskUpdatePromptNavigation& navigation) {
                                                   return delegate_.shouldNavigate(*this, navigation);
                                                 })) {
    widgets_->prompt = this;
    pressOnClick(widgets_->installButton, VeskUpdatePromptButton::install);
    pressOnClick(widgets_->remindLaterButton, VeskUpdatePromptButton::remindLater);
    pressOnClick(widgets_->dismissButton, VeskUpdatePromptButton::dismiss);
    widgets_->window.signal_close_request().connect(
        [widgets = widgets_.get()] {
          if (widgets->prompt != nullptr) widgets->prompt->close();
          return true;
        },
        false);
    listenForEscape();
  }

  ~PromptWindow() override {
    // The toolkit may be calling from one of its widgets.
    widgets_->prompt = nullptr;
    widgets_->page.stop();
    widgets_->window.set_visible(false);
    g_idle_add(
        [](gpointer widgets) -> gboolean {
          delete static_cast<PromptWidgets*>(widgets);
          return G_SOURCE_REMOVE;
        },
        widgets_.release());
  }

  PromptWindow(const PromptWindow&) = delete;
  PromptWindow& operator=(const PromptWindow&) = delete;

  void show() override {
    if (isClosed_) return;
    widgets_->page.load(releaseNotesURL_);
    widgets_->window.present();
  }

  void close() override {
    if (std::exchange(isClosed_, true)) return;
    widgets_->page.stop();
    widgets_->window.set_visible(false);
    delegate_.windowWillClose(*this);
  }

 private:
  /// May end this object: nothing of it is touched after the delegate was told. The same goes for close().
  void press(VeskUpdatePromptButton button) {
    if (isClosed_) return;
    switch (button) {
      case VeskUpdatePromptButton::install:
        delegate_.installButtonPressed(*this);
        return;
      case VeskUpdatePromptButton::remindLater:
        delegate_.remindLaterButtonPressed(*this);
        return;
      case VeskUpdatePromptButton::dismiss:
        delegate_.dismissButtonPressed(*this);
        return;
    }
  }

  void pressOnClick(Gtk::Button& clicked, VeskUpdatePromptButton button) {
    clicked.signal_clicked().connect([widgets = widgets_.get(), button] {
      if (widgets->prompt != nullptr) widgets->prompt->press(button);
    });
  }

  /// Before the page can take the key for itself.
  void listenForEscape() {
    const auto keys = Gtk::EventControllerKey::create();
    keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    keys->signal_key_pressed().connect(
        [widgets = widgets_.get()](guint key, guint /*code*/, Gdk::ModifierType /*modifiers*/) {
          if (key != GDK_KEY_Escape) return false;
          if (widgets->prompt != nullptr) widgets->prompt->press(VeskUpdatePromptButton::remindLater);
          return true;
        },
        false);
    widgets_->window.add_controller(keys);
  }

  VeskUpdatePromptWindowDelegate& delegate_;
  const std::optional<QuillonURL> releaseNotesURL_;
  std::unique_ptr<PromptWidgets> widgets_;
  bool isClosed_ = false;
};

}  // namespace

VeskUpdateGTKPromptWindows::VeskUpdateGTKPromptWindows(QuillonURL imagesFolder, PageScripts pageScripts)
    : imagesFolder_(std::move(imagesFolder)), pageScripts_(pageScripts) {}

std::shared_ptr<VeskUpdatePromptWindow> VeskUpdateGTKPromptWindows::makePromptWindow(
    const VeskUpdatePromptContent& content, VeskUpdatePromptWindowDelegate& delegate) {
  return std::make_shared<PromptWindow>(content, imagesFolder_, pageScripts_, delegate);
}

}  // namespace quillon
