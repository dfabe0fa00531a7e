#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "QuillonCore/Runtime/QuillonSystemLog.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleAuthorizationOpaqueRef.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationClient.h"

namespace quillon {

class PolkitAuthorityConnection;
struct PolkitAuthorizationResult;

/// Asks polkit for rights, over the system bus.
///
/// The right to submit jobs is polkit's action "org.freedesktop.systemd1.manage-units", which systemd checks by itself
/// when it gets the job. Any other right is the action of the same name where an action file describes it; where none
/// is installed the right adds nothing, because polkit could not ask for it, and is granted without a question.
///
/// Rule and text of a right come from its action file, never from this process: setRight has no effect. A question that
/// cannot be put, and one to which nobody can answer, is a denial with one line in the diagnostic log. Answers that
/// polkit keeps are taken back with the authorization. polkit keeps them for this process alone.
class VeskAppBundlePolkitAuthorizationClient final : public VeskAppBundleSecurityAuthorizationClient {
 public:
  /// How long polkit may take when nobody is asked. A dialog has no limit.
  static constexpr std::chrono::seconds kDefaultTimeLimit{20};
  /// How long polkit may take to take an answer back. A launch is answered only after that.
  static constexpr std::chrono::seconds kDefaultRevocationTimeLimit{1};
  static constexpr const char* kSystemBusAddress = "unix:path=/run/dbus/system_bus_socket";

  explicit VeskAppBundlePolkitAuthorizationClient(
      std::string systemBusAddress = kSystemBusAddress, std::chrono::milliseconds timeLimit = kDefaultTimeLimit,
      QuillonDiagnosticLog diagnosticLog = &writeToSystemLog,
      std::chrono::milliseconds revocationTimeLimit = kDefaultRevocationTimeLimit)
      : systemBusAddress_(std::move(systemBusAddress)),
        timeLimit_(timeLimit),
        revocationTimeLimit_(revocationTimeLimit),
        diagnosticLog_(std::move(diagnosticLog)) {}

  /// Reaches nobody: an authorization can be made where there is no bus.
  [[nodiscard]] Creation createAuthorization() noexcept override;
  [[nodiscard]] std::int32_t setRight(VeskAppBundleAuthorizationRef authorizationRef, std::string_view rightName,
                                      std::string_view rule, std::string_view description) noexcept override;
  [[nodiscard]] std::int32_t copyRight(VeskAppBundleAuthorizationRef authorizationRef, std::string_view rightName,
                                       std::uint32_t flags) noexcept override;
  void freeAuthorization(VeskAppBundleAuthorizationRef authorizationRef) noexcept override;

 private:
  /// A living authorization, and the answers that polkit keeps for it.
  struct Authorization {
    VeskAppBundleAuthorizationOpaqueRef ref;
    bool isGranted = false;                                   // anything; guarded by lock_
    std::set<std::string> temporaryAuthorizationIdentifiers;  // guarded by lock_
  };

  [[nodiscard]] std::shared_ptr<Authorization> find(VeskAppBundleAuthorizationRef authorizationRef) const;
  [[nodiscard]] std::shared_ptr<Authorization> take(VeskAppBundleAuthorizationRef authorizationRef);
  /// Whether `authorization` may ask; then nobody else may until it has stopped.
  [[nodiscard]] bool startAsking(const std::shared_ptr<Authorization>& authorization);
  void stopAsking();
  [[nodiscard]] std::int32_t askOrDeny(Authorization& authorization, std::string_view rightName,
                                       std::uint32_t flags) noexcept;
  [[nodiscard]] std::int32_t ask(Authorization& authorization, std::string_view rightName, std::uint32_t flags);
  [[nodiscard]] std::int32_t check(Authorization& authorization, const PolkitAuthorityConnection& polkit,
                                   const std::string& action, bool mayAsk);
  /// Whether the answer may count for `authorization`, which then owns it.
  [[nodiscard]] bool takeOver(Authorization& authorization, const PolkitAuthorizationResult& result);
  /// Takes kept answers back; notes those that it could not.
  void revoke(const std::set<std::string>& temporaryAuthorizationIdentifiers);
  /// Whether polkit took an answer back. Throws when it does not reply: it is not asked again then.
  [[nodiscard]] bool revoke(const PolkitAuthorityConnection& polkit, const std::string& identifier) const;
  void logKeptAnswer(const std::string& identifier, const QuillonSystemError& error) const noexcept;
  void log(std::string_view failure, std::string_view rightName, std::string_view detail) const noexcept;

  const std::string systemBusAddress_;
  const std::chrono::milliseconds timeLimit_;
  const std::chrono::milliseconds revocationTimeLimit_;
  const QuillonDiagnosticLog diagnosticLog_;
  mutable std::mutex lock_;
  std::map<VeskAppBundleAuthorizationRef, std::shared_ptr<Authorization>> authorizations_;  // guarded by lock_
  /// Who asks or was granted something; null when nobody.
  std::shared_ptr<const Authorization> holder_;  // guarded by lock_
  bool isAsking_ = false;                        // guarded by lock_
  /// Answers that polkit did not take back.
  std::set<std::string> unrevokedIdentifiers_;  // guarded by lock_
};

}  // namespace quillon
