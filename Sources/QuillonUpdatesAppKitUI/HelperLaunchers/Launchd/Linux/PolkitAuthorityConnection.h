#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/MessageBusConnection.h"

namespace quillon {

/// What polkit says of an action.
struct PolkitAuthorizationResult {
  bool isAuthorized = false;
  /// Whether it would have to ask somebody, and did not.
  bool isChallenge = false;
  /// Whether the user closed the dialog.
  bool isDismissed = false;
  /// Names the answer that polkit keeps for a while; absent when it keeps none.
  std::optional<std::string> temporaryAuthorizationIdentifier;

  friend bool operator==(const PolkitAuthorizationResult&, const PolkitAuthorizationResult&) = default;
};

/// A connection to polkit's authority on a system bus (org.freedesktop.PolicyKit1.Authority), used by one thread.
///
/// Every operation throws QuillonSystemError: the name of the D-Bus error as domain (or "POSIX" when the bus is not
/// reached), its errno value and its text. All but a check that may ask wait at most the time limit.
class PolkitAuthorityConnection {
 public:
  enum class Interaction : bool { forbidden, allowed };

  PolkitAuthorityConnection(const std::string& busAddress, std::chrono::milliseconds timeLimit)
      : bus_(busAddress, timeLimit) {}

  /// Whether this process may do `action`, which must have an action file. Waits for a dialog as long as it is open.
  [[nodiscard]] PolkitAuthorizationResult checkAuthorization(const std::string& action, Interaction interaction) const;
  /// Whether there is an action file that describes `action`.
  [[nodiscard]] bool hasAction(std::string_view action) const;
  /// Takes back an answer that polkit keeps.
  void revokeTemporaryAuthorization(const std::string& identifier) const;

 private:
  MessageBusConnection bus_;
};

}  // namespace quillon
