#pragma once

#include <time.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace quillon {

/// Sets the time zone of this process, by its name ("Europe/Vienna"), and puts the former one back. For tests on one
/// thread: the environment belongs to the whole process.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const std::string& name) {
    if (const char* const before = std::getenv("TZ")) before_ = before;
    set(name);
  }
  ScopedTimeZone(const ScopedTimeZone&) = delete;
  ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;
  ~ScopedTimeZone() { set(before_); }

 private:
  static void set(const std::optional<std::string>& name) {
    if (name) {
      setenv("TZ", name->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

  std::optional<std::string> before_;
};

}  // namespace quillon
