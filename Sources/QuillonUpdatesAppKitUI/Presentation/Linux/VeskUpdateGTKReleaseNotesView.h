#pragma once

#include <gtkmm/image.h>
#include <gtkmm/stack.h>

#include <functional>
#include <optional>
#include <string>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptNavigation.h"

// NOLINTNEXTLINE(bugprone-reserved-identifier): the name that its header gives it
typedef struct _WebKitWebView WebKitWebView;

namespace quillon {

/// A page in a window, or a quiet placeholder where there is none, or none that can be loaded.
///
/// What a page might ask for beside being shown (windows, permissions, passwords, downloads, dialogs, the keyboard's
/// clipboard) is denied without a word. Nothing that it stores outlives this view. A failed load leaves what is shown.
class VeskUpdateGTKReleaseNotesView final : public Gtk::Stack {
 public:
  /// Whether the page may go there. It may close the window around the view, but not destroy the view.
  using ShouldNavigate = std::function<bool(const VeskUpdatePromptNavigation&)>;

  VeskUpdateGTKReleaseNotesView(bool allowsScripts, ShouldNavigate shouldNavigate);
  ~VeskUpdateGTKReleaseNotesView() override;
  VeskUpdateGTKReleaseNotesView(const VeskUpdateGTKReleaseNotesView&) = delete;
  VeskUpdateGTKReleaseNotesView& operator=(const VeskUpdateGTKReleaseNotesView&) = delete;

  /// Loads `page`; without one the placeholder stays.
  void load(const std::optional<QuillonURL>& page);
  /// Ends what is loading; nobody is asked any more.
  void stop();

  /// Placeholder and page are called `name`, whichever is shown.
  void nameForScreenReaders(const std::string& name);

  [[nodiscard]] bool showsPlaceholder() const;
  /// The web engine's view, which is never null.
  [[nodiscard]] WebKitWebView* webView() const noexcept { return webView_; }

 private:
  void showPlaceholder();
  void showPage();

  ShouldNavigate shouldNavigate_;
  Gtk::Image* const placeholder_;     // the stack's
  WebKitWebView* webView_ = nullptr;  // a reference of this object's own
};

}  // namespace quillon
