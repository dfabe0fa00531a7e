#pragma once

#include <gtkmm/widget.h>
#include <gtkmm/window.h>
#include <sys/types.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Support/PrivateBus.h"
#include "Support/TemporaryDirectory.h"

typedef struct _XDisplay Display;

namespace quillon::testing {

/// A screen without a machine's: Xvfb, a session bus and a bus for assistive technologies, all children of this
/// process, with folders of their own for settings and caches. The process's environment names them until its end, and
/// GTK is started on them.
class VirtualDesktop {
 public:
  VirtualDesktop();
  ~VirtualDesktop();
  VirtualDesktop(const VirtualDesktop&) = delete;
  VirtualDesktop& operator=(const VirtualDesktop&) = delete;

  /// The one that the tests of this executable share.
  static VirtualDesktop& shared();

  /// Serves windows until `condition` holds. False when it does not within a time that only a broken toolkit takes.
  [[nodiscard]] bool serveUntil(const std::function<bool()>& condition);
  /// Serves windows until nothing is left to do at once.
  void serveWhatWaits();
  /// Runs `work` on a thread of its own and serves windows until it has ended.
  void serveDuring(const std::function<void()>& work);

  /// Serves windows until `window` is drawn; then gives it the keyboard, as no window manager is there to do it.
  [[nodiscard]] bool waitUntilShown(Gtk::Window& window);
  /// Presses and releases the first mouse button over the middle of `widget`.
  void click(Gtk::Widget& widget);
  /// Clicks a page until `condition` holds, and serves windows: nobody tells when a page that is loaded has also been
  /// drawn by its own process, and a click that comes before it is lost.
  [[nodiscard]] bool clickUntil(Gtk::Widget& page, const std::function<bool()>& condition);
  /// Presses and releases a key of the keyboard, by its X name: "Return", "Escape", "Tab".
  void typeKey(const std::string& name);

  /// What assistive technologies see of a process: a line for each part with role, name, value and
  /// description, tabs between them.
  [[nodiscard]] std::vector<std::string> accessibleParts(pid_t process = getpid());
  /// Does the first action of the part with this name, as a screen reader would. False when there is none.
  [[nodiscard]] bool pressThroughAccessibility(const std::string& name, pid_t process = getpid());

 private:
  std::string runAccessibilityReader(pid_t process, const std::vector<std::string>& arguments, int& status);

  TemporaryDirectory folder_;
  PrivateBus sessionBus_;
  PrivateBus accessibilityBus_;
  pid_t server_ = -1;
  pid_t registry_ = -1;
  Display* display_ = nullptr;
};

}  // namespace quillon::testing
