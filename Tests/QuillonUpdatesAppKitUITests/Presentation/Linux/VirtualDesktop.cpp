#include "QuillonUpdatesAppKitUITests/Presentation/Linux/VirtualDesktop.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <fcntl.h>
#include <gdk/x11/gdkx.h>
#include <gtk/gtk.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKToolkit.h"

/// Leaks that are not this system's: fontconfig and Pango keep what they know of fonts, of which the end of a thread
/// may leave a part; WebKit, whose memory comes from JavaScriptCore's allocator, keeps a cycle for each view that never
/// loads a page; GLib's table of quarks, made when the library is loaded and larger than its first block by now, leaves
/// that block. Stacks end at the first library without frame pointers, so that nothing narrower can be named: windows
/// that are forgotten are looked for by the tests themselves.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): the sanitizer's name
  return "leak:libfontconfig.so\nleak:libjavascriptcoregtk-6.0.so\nleak:^g_malloc$\n";
}

namespace quillon::testing {
namespace {

constexpr int kDisplayDescriptor = 3;
constexpr int kTickMilliseconds = 5;
/// More than makes a double click.
constexpr std::chrono::milliseconds kTimeBetweenClicks{600};
constexpr unsigned kPatienceSeconds = 60;

pid_t start(const std::vector<std::string>& command, const std::string& log, int descriptorToKeep = -1) {
  // A test that crashes takes its children with it.
  std::vector<std::string> line{"/usr/bin/setpriv", "--pdeathsig", "KILL"};
  line.insert(line.end(), command.begin(), command.end());
  std::vector<char*> arguments;
  for (const std::string& argument : line) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  if (descriptorToKeep >= 0) posix_spawn_file_actions_adddup2(&actions, descriptorToKeep, kDisplayDescriptor);
  posix_spawn_file_actions_addclosefrom_np(&actions, kDisplayDescriptor + 1);
  pid_t child = -1;
  const int error = posix_spawn(&child, line.front().c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("Cannot start " + command.front());
  return child;
}

void end(pid_t child) {
  if (child < 0) return;
  kill(child, SIGTERM);
  waitpid(child, nullptr, 0);
}

/// Starts the X server, which chooses a free display and says which.
pid_t startServer(const std::string& log) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) throw std::runtime_error("Cannot make a pipe");
  const pid_t server = start({"/usr/bin/Xvfb", "-displayfd", std::to_string(kDisplayDescriptor), "-screen", "0",
                              "1600x1200x24", "-nolisten", "tcp", "-terminate"},
                             log, ends[1]);
  ::close(ends[1]);
  std::string number;
  std::array<char, 16> read{};
  while (number.find('\n') == std::string::npos) {
    const ssize_t count = ::read(ends[0], read.data(), read.size());
    if (count <= 0) throw std::runtime_error("Xvfb did not start");
    number.append(read.data(), static_cast<std::size_t>(count));
  }
  ::close(ends[0]);
  number.pop_back();
  setenv("DISPLAY", (":" + number).c_str(), 1);
  return server;
}

}  // namespace

VirtualDesktop::VirtualDesktop() {
  for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
    const auto folder = folder_ / name;
    std::filesystem::create_directory(folder);
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    setenv(name, folder.c_str(), 1);
  }
  for (const char* name : {"GTK_THEME", "GTK_MODULES", "WAYLAND_DISPLAY", "GDK_SCALE", "GDK_DPI_SCALE"}) unsetenv(name);
  setenv("GDK_BACKEND", "x11", 1);
  setenv("GSK_RENDERER", "cairo", 1);
  setenv("GTK_A11Y", "atspi", 1);
  setenv("GSETTINGS_BACKEND", "memory", 1);
  setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
  setenv("LC_ALL", "C.UTF-8", 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", sessionBus_.address().c_str(), 1);
  setenv("AT_SPI_BUS_ADDRESS", accessibilityBus_.address().c_str(), 1);
  const std::string log = (folder_ / "log").string();
  server_ = startServer(log);
  registry_ = start({"/usr/libexec/at-spi2-registryd"}, log);
  if (!startGTKToolkit()) throw std::runtime_error("GTK does not start: " + readFile(log));
  display_ = XOpenDisplay(nullptr);
  if (display_ == nullptr) throw std::runtime_error("Cannot open the display");
}

VirtualDesktop::~VirtualDesktop() {
  XCloseDisplay(display_);
  end(registry_);
  end(server_);
}

VirtualDesktop& VirtualDesktop::shared() {
  static VirtualDesktop desktop;
  return desktop;
}

bool VirtualDesktop::serveUntil(const std::function<bool()>& condition) {
  const auto isOver = [deadline = std::chrono::steady_clock::now() + std::chrono::seconds(kPatienceSeconds)] {
    return std::chrono::steady_clock::now() >= deadline;
  };
  // Conditions also change through other processes and threads, which wake nobody here.
  const guint tick = g_timeout_add(
      kTickMilliseconds, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  bool holds = condition();
  while (!holds && !isOver()) {
    g_main_context_iteration(nullptr, TRUE);
    holds = condition();
  }
  g_source_remove(tick);
  return holds;
}

void VirtualDesktop::serveWhatWaits() {
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
}

void VirtualDesktop::serveDuring(const std::function<void()>& work) {
  std::atomic<bool> didEnd = false;
  const std::jthread thread([&] {
    work();
    didEnd = true;
  });
  static_cast<void>(serveUntil([&] { return didEnd.load(); }));
}

bool VirtualDesktop::waitUntilShown(Gtk::Window& window) {
  if (!serveUntil([&] { return window.get_mapped() && window.get_width() > 0; })) return false;
  serveWhatWaits();
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  GdkSurface* const surface = gtk_native_get_surface(GTK_NATIVE(window.gobj()));
  XSetInputFocus(display_, gdk_x11_surface_get_xid(surface), RevertToParent, CurrentTime);
  G_GNUC_END_IGNORE_DEPRECATIONS
  XSync(display_, False);
  return serveUntil([&] { return window.is_active(); });
}

void VirtualDesktop::click(Gtk::Widget& widget) {
  GtkNative* const native = gtk_widget_get_native(widget.gobj());
  const graphene_point_t middle{static_cast<float>(widget.get_width()) / 2.F,
                                static_cast<float>(widget.get_height()) / 2.F};
  graphene_point_t inWindow{};
  if (!gtk_widget_compute_point(widget.gobj(), GTK_WIDGET(native), &middle, &inWindow)) {
    throw std::runtime_error("The widget is in no window");
  }
  double offsetX = 0;
  double offsetY = 0;
  gtk_native_get_surface_transform(native, &offsetX, &offsetY);
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  const XID xid = gdk_x11_surface_get_xid(gtk_native_get_surface(native));
  G_GNUC_END_IGNORE_DEPRECATIONS
  int x = 0;
  int y = 0;
  ::Window child = 0;
  XTranslateCoordinates(display_, xid, XDefaultRootWindow(display_), static_cast<int>(inWindow.x + offsetX),
                        static_cast<int>(inWindow.y + offsetY), &x, &y, &child);
  XRaiseWindow(display_, xid);
  XTestFakeMotionEvent(display_, -1, x, y, CurrentTime);
  XTestFakeButtonEvent(display_, 1, True, CurrentTime);
  XTestFakeButtonEvent(display_, 1, False, CurrentTime);
  XSync(display_, False);
}

bool VirtualDesktop::clickUntil(Gtk::Widget& page, const std::function<bool()>& condition) {
  std::chrono::steady_clock::time_point nextClick;
  return serveUntil([&] {
    if (condition()) return true;
    if (const auto now = std::chrono::steady_clock::now(); now >= nextClick) {
      click(page);
      nextClick = now + kTimeBetweenClicks;
    }
    return false;
  });
}

void VirtualDesktop::typeKey(const std::string& name) {
  const KeyCode code = XKeysymToKeycode(display_, XStringToKeysym(name.c_str()));
  if (code == 0) throw std::runtime_error("No such key: " + name);
  XTestFakeKeyEvent(display_, code, True, CurrentTime);
  XTestFakeKeyEvent(display_, code, False, CurrentTime);
  XSync(display_, False);
}

std::vector<std::string> VirtualDesktop::accessibleParts(pid_t process) {
  int status = 0;
  std::istringstream output(runAccessibilityReader(process, {"list"}, status));
  std::vector<std::string> parts;
  for (std::string line; std::getline(output, line);) parts.push_back(line);
  return parts;
}

bool VirtualDesktop::pressThroughAccessibility(const std::string& name, pid_t process) {
  int status = 1;
  static_cast<void>(runAccessibilityReader(process, {"press", name}, status));
  return status == 0;
}

std::string VirtualDesktop::runAccessibilityReader(pid_t process, const std::vector<std::string>& arguments,
                                                   int& status) {
  const std::string output = (folder_ / "parts").string();
  std::filesystem::remove(output);
  std::vector<std::string> command{QUILLON_ACCESSIBILITY_READER, std::to_string(process)};
  command.insert(command.end(), arguments.begin(), arguments.end());
  // Served meanwhile: this process answers what the reader asks.
  serveDuring([&] {
    const pid_t reader = start(command, output);
    int waited = 0;
    waitpid(reader, &waited, 0);
    status = WIFEXITED(waited) ? WEXITSTATUS(waited) : 1;
  });
  return readFile(output);
}

}  // namespace quillon::testing
