#pragma once

#include <sys/types.h>

#include <string>

#include "Support/TemporaryDirectory.h"

namespace quillon::testing {

/// A message bus of its own for one test: a dbus-daemon that accepts everybody and every name.
class PrivateBus {
 public:
  /// Returns when the bus accepts connections. Throws where dbus-daemon is not installed.
  PrivateBus();
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  [[nodiscard]] const std::string& address() const noexcept { return address_; }

 private:
  TemporaryDirectory folder_;
  pid_t daemon_ = -1;
  std::string address_;
};

}  // namespace quillon::testing
