// What assistive technologies see of a process: AccessibilityReader PID list | press NAME

#include <atspi/atspi.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

/// What libatspi and the libraries under it keep until the end of a process.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): the sanitizer's name
  return "leak:libatspi.so\nleak:libdbus-1.so\nleak:libglib-2.0.so\nleak:libgobject-2.0.so\n";
}

namespace {

struct ObjectRelease {
  void operator()(void* object) const { g_object_unref(object); }
};
using Accessible = std::unique_ptr<AtspiAccessible, ObjectRelease>;

std::string take(gchar* text) {
  const std::string copy = text == nullptr ? "" : text;
  g_free(text);
  return copy;
}

std::string name(AtspiAccessible* part) {
  return take(atspi_accessible_get_name(part, nullptr));
}

std::string value(AtspiAccessible* part) {
  const std::unique_ptr<AtspiValue, ObjectRelease> found(atspi_accessible_get_value_iface(part));
  return found ? std::to_string(atspi_value_get_current_value(found.get(), nullptr)) : "";
}

/// Calls `visit` for `part` and everything below it until it returns true.
bool walk(AtspiAccessible* part, const std::function<bool(AtspiAccessible*)>& visit) {
  if (visit(part)) return true;
  const int count = atspi_accessible_get_child_count(part, nullptr);
  for (int i = 0; i < count; ++i) {
    const Accessible child(atspi_accessible_get_child_at_index(part, i, nullptr));
    if (child && walk(child.get(), visit)) return true;
  }
  return false;
}

Accessible applicationOf(pid_t process) {
  const Accessible desktop(atspi_get_desktop(0));
  const int count = atspi_accessible_get_child_count(desktop.get(), nullptr);
  for (int i = 0; i < count; ++i) {
    Accessible application(atspi_accessible_get_child_at_index(desktop.get(), i, nullptr));
    if (application && static_cast<pid_t>(atspi_accessible_get_process_id(application.get(), nullptr)) == process) {
      return application;
    }
  }
  return nullptr;
}

bool printPart(AtspiAccessible* part) {
  std::cout << take(atspi_accessible_get_role_name(part, nullptr)) << '\t' << name(part) << '\t' << value(part) << '\t'
            << take(atspi_accessible_get_description(part, nullptr)) << '\n';
  return false;
}

bool press(AtspiAccessible* part, std::string_view wanted) {
  if (name(part) != wanted) return false;
  const std::unique_ptr<AtspiAction, ObjectRelease> action(atspi_accessible_get_action_iface(part));
  return action && atspi_action_do_action(action.get(), 0, nullptr) != FALSE;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3 || atspi_init() != 0) return 2;
  const Accessible application = applicationOf(std::atoi(arguments[1]));
  if (!application) return 3;
  const std::string_view command = arguments[2];
  if (command == "list") {
    walk(application.get(), printPart);
    return 0;
  }
  const bool didPress = count == 4 && command == "press" &&
                        walk(application.get(), [&](AtspiAccessible* part) { return press(part, arguments[3]); });
  return didPress ? 0 : 1;
}
