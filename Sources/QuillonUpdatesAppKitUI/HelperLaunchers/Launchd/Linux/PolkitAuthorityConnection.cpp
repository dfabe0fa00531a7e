#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/PolkitAuthorityConnection.h"

#include <cstdint>

namespace quillon {
namespace {

using Limit = MessageBusConnection::Limit;
using Message = MessageBusConnection::Message;

constexpr MessageBusObject kAuthority{.service = "org.freedesktop.PolicyKit1",
                                      .path = "/org/freedesktop/PolicyKit1/Authority",
                                      .interface = "org.freedesktop.PolicyKit1.Authority"};
/// CheckAuthorizationFlags of that interface.
constexpr std::uint32_t kAllowUserInteraction = 1;

void require(int result, std::string_view action) {
  requireBus(result, action, "polkit");
}

void readDetail(sd_bus_message* message, PolkitAuthorizationResult& result) {
  const char* key = nullptr;
  const char* value = nullptr;
  require(sd_bus_message_read(message, "{ss}", &key, &value), "understand");
  const std::string_view name(key);
  if (name == "polkit.dismissed") result.isDismissed = *value != '\0';
  if (name == "polkit.temporary_authorization_id") result.temporaryAuthorizationIdentifier = value;
}

PolkitAuthorizationResult readResult(const Message& reply) {
  constexpr std::string_view kAction = "understand";
  sd_bus_message* const message = reply.get();
  PolkitAuthorizationResult result;
  int isAuthorized = 0;
  int isChallenge = 0;
  require(sd_bus_message_enter_container(message, 'r', "bba{ss}"), kAction);
  require(sd_bus_message_read(message, "bb", &isAuthorized, &isChallenge), kAction);
  result.isAuthorized = isAuthorized != 0;
  result.isChallenge = isChallenge != 0;
  require(sd_bus_message_enter_container(message, 'a', "{ss}"), kAction);
  while (sd_bus_message_at_end(message, 0) == 0) readDetail(message, result);
  return result;
}

/// The identifier of the action description that `message` stands at, which is read to its end.
std::string_view readActionIdentifier(sd_bus_message* message) {
  constexpr std::string_view kAction = "understand";
  const char* identifier = nullptr;
  require(sd_bus_message_enter_container(message, 'r', "ssssssuuua{ss}"), kAction);
  require(sd_bus_message_read(message, "s", &identifier), kAction);
  require(sd_bus_message_skip(message, "sssssuuua{ss}"), kAction);
  require(sd_bus_message_exit_container(message), kAction);
  return identifier;
}

}  // namespace

PolkitAuthorizationResult PolkitAuthorityConnection::checkAuthorization(const std::string& action,
                                                                        Interaction interaction) const {
  const bool mayAsk = interaction == Interaction::allowed;
  const std::string ownName = bus_.uniqueName();
  const Message message = bus_.makeCall(kAuthority, "CheckAuthorization");
  // Subject, action, no details (only root may give some), flags, and no identifier to cancel the check by.
  require(sd_bus_message_append(message.get(), "(sa{sv})sa{ss}us", "system-bus-name", 1, "name", "s", ownName.c_str(),
                                action.c_str(), 0, mayAsk ? kAllowUserInteraction : 0, ""),
          "ask");
  return readResult(bus_.call(message, mayAsk ? Limit::none : Limit::usual));
}

bool PolkitAuthorityConnection::hasAction(std::string_view action) const {
  const Message message = bus_.makeCall(kAuthority, "EnumerateActions");
  require(sd_bus_message_append(message.get(), "s", ""), "ask");  // texts in no language: none is looked at
  const Message reply = bus_.call(message);
  require(sd_bus_message_enter_container(reply.get(), 'a', "(ssssssuuua{ss})"), "understand");
  while (sd_bus_message_at_end(reply.get(), 0) == 0) {
    if (readActionIdentifier(reply.get()) == action) return true;
  }
  return false;
}

void PolkitAuthorityConnection::revokeTemporaryAuthorization(const std::string& identifier) const {
  const Message message = bus_.makeCall(kAuthority, "RevokeTemporaryAuthorizationById");
  require(sd_bus_message_append(message.get(), "s", identifier.c_str()), "ask");
  (void)bus_.call(message);
}

}  // namespace quillon
