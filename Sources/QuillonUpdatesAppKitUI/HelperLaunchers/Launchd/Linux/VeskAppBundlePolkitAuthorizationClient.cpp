#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundlePolkitAuthorizationClient.h"

#include <cerrno>
#include <exception>
#include <utility>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/PolkitAuthorityConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdManagementRights.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorizationProviding.h"

namespace quillon {
namespace {

using Interaction = PolkitAuthorityConnection::Interaction;

constexpr std::string_view kCancelledError = "org.freedesktop.PolicyKit1.Error.Cancelled";

}  // namespace

VeskAppBundleSecurityAuthorizationClient::Creation
VeskAppBundlePolkitAuthorizationClient::createAuthorization() noexcept {
  try {
    const auto authorization = std::make_shared<Authorization>();
    const VeskAppBundleAuthorizationRef ref = &authorization->ref;
    const std::lock_guard guard(lock_);
    authorizations_.emplace(ref, authorization);
    return {.status = kAuthorizationSuccess, .authorizationRef = ref};
  } catch (const std::exception&) {
    return {.status = kAuthorizationDenied, .authorizationRef = nullptr};
  }
}

std::int32_t VeskAppBundlePolkitAuthorizationClient::setRight(VeskAppBundleAuthorizationRef authorizationRef,
                                                              std::string_view /*rightName*/, std::string_view /*rule*/,
                                                              std::string_view /*description*/) noexcept {
  return find(authorizationRef) ? kAuthorizationSuccess : kAuthorizationInvalidRef;
}

std::int32_t VeskAppBundlePolkitAuthorizationClient::copyRight(VeskAppBundleAuthorizationRef authorizationRef,
                                                               std::string_view rightName,
                                                               std::uint32_t flags) noexcept {
  const std::shared_ptr<Authorization> authorization = find(authorizationRef);
  if (!authorization) return kAuthorizationInvalidRef;
  if (!startAsking(authorization)) {
    log("Another launch asks for rights or holds some", rightName, {});
    return kAuthorizationDenied;
  }
  const std::int32_t status = askOrDeny(*authorization, rightName, flags);
  stopAsking();
  return status;
}

void VeskAppBundlePolkitAuthorizationClient::freeAuthorization(
    VeskAppBundleAuthorizationRef authorizationRef) noexcept {
  try {
    const std::shared_ptr<Authorization> authorization = take(authorizationRef);
    if (!authorization) return;
    revoke(authorization->temporaryAuthorizationIdentifiers);
    const std::lock_guard guard(lock_);
    if (holder_ == authorization) holder_ = nullptr;
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): its rights stay with it, so nobody else gets any
  }
}

std::shared_ptr<VeskAppBundlePolkitAuthorizationClient::Authorization> VeskAppBundlePolkitAuthorizationClient::find(
    VeskAppBundleAuthorizationRef authorizationRef) const {
  const std::lock_guard guard(lock_);
  const auto found = authorizations_.find(authorizationRef);
  return found == authorizations_.end() ? nullptr : found->second;
}

std::shared_ptr<VeskAppBundlePolkitAuthorizationClient::Authorization> VeskAppBundlePolkitAuthorizationClient::take(
    VeskAppBundleAuthorizationRef authorizationRef) {
  const std::lock_guard guard(lock_);
  const auto node = authorizations_.extract(authorizationRef);
  return node.empty() ? nullptr : node.mapped();
}

bool VeskAppBundlePolkitAuthorizationClient::startAsking(const std::shared_ptr<Authorization>& authorization) {
  const std::lock_guard guard(lock_);
  if (isAsking_ || (holder_ != nullptr && holder_ != authorization)) return false;
  holder_ = authorization;
  isAsking_ = true;
  return true;
}

void VeskAppBundlePolkitAuthorizationClient::stopAsking() {
  const std::lock_guard guard(lock_);
  isAsking_ = false;
  if (holder_ != nullptr && !holder_->isGranted) holder_ = nullptr;
}

std::int32_t VeskAppBundlePolkitAuthorizationClient::askOrDeny(Authorization& authorization, std::string_view rightName,
                                                               std::uint32_t flags) noexcept {
  try {
    return ask(authorization, rightName, flags);
  } catch (const std::exception&) {
    return kAuthorizationDenied;
  }
}

std::int32_t VeskAppBundlePolkitAuthorizationClient::ask(Authorization& authorization, std::string_view rightName,
                                                         std::uint32_t flags) {
  const bool isServiceManagement = rightName == kServiceManagementRightName;
  const bool mayAsk = (flags & kAuthorizationFlagInteractionAllowed) != 0;
  try {
    const PolkitAuthorityConnection polkit(systemBusAddress_, timeLimit_);
    const std::string action(isServiceManagement ? kManageUnitsAction : rightName);
    if (!isServiceManagement && !polkit.hasAction(action)) return kAuthorizationSuccess;

    const std::int32_t status = check(authorization, polkit, action, mayAsk);
    if (isServiceManagement && status == kAuthorizationSuccess) {
      // Not every answer is kept, and what polkit tells of that beforehand can be about another action that implies
      // this one. So the question that systemd is going to put is put once.
      const bool isKept = !mayAsk || polkit.checkAuthorization(action, Interaction::forbidden).isAuthorized;
      authorization.ref.serviceManagementGrant = isKept ? VeskAppBundleRightGrant::kept : VeskAppBundleRightGrant::once;
    }
    return status;
  } catch (const QuillonSystemError& error) {
    if (error.domain() == kCancelledError) return kAuthorizationCanceled;
    log("Cannot ask polkit", rightName,
        error.domain() + " " + std::to_string(error.code()) + " " + error.description());
    return kAuthorizationDenied;
  }
}

std::int32_t VeskAppBundlePolkitAuthorizationClient::check(Authorization& authorization,
                                                           const PolkitAuthorityConnection& polkit,
                                                           const std::string& action, bool mayAsk) {
  const PolkitAuthorizationResult result =
      polkit.checkAuthorization(action, mayAsk ? Interaction::allowed : Interaction::forbidden);
  if (!takeOver(authorization, result)) {
    log("polkit answers with what an earlier launch was granted", action, {});
    return kAuthorizationDenied;
  }
  if (result.isAuthorized) return kAuthorizationSuccess;
  if (result.isDismissed) return kAuthorizationCanceled;
  if (result.isChallenge && mayAsk) log("No authentication agent can ask the user", action, {});
  return kAuthorizationDenied;
}

bool VeskAppBundlePolkitAuthorizationClient::takeOver(Authorization& authorization,
                                                      const PolkitAuthorizationResult& result) {
  const std::lock_guard guard(lock_);
  if (const auto& identifier = result.temporaryAuthorizationIdentifier) {
    if (unrevokedIdentifiers_.contains(*identifier)) return false;
    authorization.temporaryAuthorizationIdentifiers.insert(*identifier);
  }
  if (result.isAuthorized) authorization.isGranted = true;
  return true;
}

void VeskAppBundlePolkitAuthorizationClient::revoke(const std::set<std::string>& temporaryAuthorizationIdentifiers) {
  if (temporaryAuthorizationIdentifiers.empty()) return;
  std::set<std::string> left = temporaryAuthorizationIdentifiers;
  try {
    const PolkitAuthorityConnection polkit(systemBusAddress_, revocationTimeLimit_);
    std::erase_if(left, [&](const std::string& identifier) { return revoke(polkit, identifier); });
  } catch (const QuillonSystemError& error) {
    for (const std::string& identifier : left) logKeptAnswer(identifier, error);
  }
  const std::lock_guard guard(lock_);
  unrevokedIdentifiers_.merge(left);
}

bool VeskAppBundlePolkitAuthorizationClient::revoke(const PolkitAuthorityConnection& polkit,
                                                    const std::string& identifier) const {
  try {
    polkit.revokeTemporaryAuthorization(identifier);
    return true;
  } catch (const QuillonSystemError& error) {
    if (error.code() == ETIMEDOUT) throw;
    logKeptAnswer(identifier, error);
    return false;
  }
}

void VeskAppBundlePolkitAuthorizationClient::logKeptAnswer(const std::string& identifier,
                                                           const QuillonSystemError& error) const noexcept {
  log("polkit keeps an answer until this process ends", identifier, error.description());
}

void VeskAppBundlePolkitAuthorizationClient::log(std::string_view failure, std::string_view rightName,
                                                 std::string_view detail) const noexcept {
  try {
    std::string line = "VeskAppBundlePolkitAuthorizationClient: ";
    line.append(failure).append("; right=").append(rightName);
    line.append(" error=").append(detail.empty() ? "<empty>" : detail);
    diagnosticLog_(line);
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): what is only told must not change what is decided
  }
}

}  // namespace quillon
