#include "Support/FakePolkitAuthority.h"

#include <cstdint>
#include <utility>

namespace quillon::testing {
namespace {

constexpr const char* kService = "org.freedesktop.PolicyKit1";
constexpr const char* kObject = "/org/freedesktop/PolicyKit1/Authority";
constexpr const char* kInterface = "org.freedesktop.PolicyKit1.Authority";
constexpr const char* kFailed = "org.freedesktop.PolicyKit1.Error.Failed";

/// The bus name that a subject stands for. Throws for one of another kind.
std::string readSubject(sd_bus_message* message) {
  const char* kind = nullptr;
  const char* key = nullptr;
  const char* name = nullptr;
  requireBusResult(sd_bus_message_read(message, "(sa{sv})", &kind, 1, &key, "s", &name), "subject expected");
  if (std::string(kind) != "system-bus-name" || std::string(key) != "name") throw std::runtime_error("odd subject");
  return name;
}

int replyResult(sd_bus_message* message, bool isAuthorized, bool isChallenge, const char* key = nullptr,
                const std::string& value = {}) {
  const int authorized = isAuthorized ? 1 : 0;
  const int challenge = isChallenge ? 1 : 0;
  if (key == nullptr) return sd_bus_reply_method_return(message, "(bba{ss})", authorized, challenge, 0);
  return sd_bus_reply_method_return(message, "(bba{ss})", authorized, challenge, 2,
                                    "polkit.retains_authorization_after_challenge", "1", key, value.c_str());
}

}  // namespace

FakePolkitAuthority::FakePolkitAuthority(const std::string& busAddress, Behaviour behaviour)
    : behaviour_(std::move(behaviour)),
      service_(busAddress, kService, kObject, [this](sd_bus_message* message) { return answer(message); }) {}

std::set<std::string> FakePolkitAuthority::revokingPeers() const {
  const std::lock_guard guard(lock_);
  return revokingPeers_;
}

int FakePolkitAuthority::answer(sd_bus_message* message) {
  if (sd_bus_message_is_method_call(message, kInterface, "CheckAuthorization") > 0) return answerCheck(message);
  if (sd_bus_message_is_method_call(message, kInterface, "EnumerateActions") > 0) return answerActions(message);
  if (sd_bus_message_is_method_call(message, kInterface, "RevokeTemporaryAuthorizationById") > 0) {
    return answerRevocation(message);
  }
  return 0;
}

int FakePolkitAuthority::answerCheck(sd_bus_message* message) {
  const std::string subject = readSubject(message);
  const std::string action = readBusText(message);
  std::uint32_t flags = 0;
  requireBusResult(sd_bus_message_skip(message, "a{ss}"), "details expected");
  requireBusResult(sd_bus_message_read(message, "u", &flags), "flags expected");
  service_.record("CheckAuthorization " + action + " " + std::to_string(flags));
  if (subject != sd_bus_message_get_sender(message)) throw std::runtime_error("only about the caller itself");
  if (behaviour_.checkError) {
    return sd_bus_reply_method_errorf(message, behaviour_.checkError->name.c_str(), "%s",
                                      behaviour_.checkError->text.c_str());
  }
  const auto found = behaviour_.actions.find(action);
  if (found == behaviour_.actions.end()) {
    return sd_bus_reply_method_errorf(message, kFailed, "Action %s is not registered", action.c_str());
  }
  return reply(message, action, found->second, (flags & 1) != 0);
}

int FakePolkitAuthority::reply(sd_bus_message* message, const std::string& action, Answer answer, bool mayAsk) {
  constexpr const char* kIdentifier = "polkit.temporary_authorization_id";
  if (answer == Answer::silence) return 1;
  if (answer == Answer::granted) return replyResult(message, true, false);
  if (const std::string kept = keptActionFor(action); !kept.empty()) {
    return replyResult(message, true, false, kIdentifier, kept);
  }
  if (!mayAsk || answer == Answer::noAgent) return replyResult(message, false, true);
  if (answer == Answer::dismissed) return replyResult(message, false, false, "polkit.dismissed", "true");
  if (answer == Answer::refused) return replyResult(message, false, false);
  if (answer == Answer::held) {
    open_.release();
    released_.acquire();
  }
  if (answer == Answer::confirmed) return replyResult(message, true, false);
  keptActions_.insert(action);
  return replyResult(message, true, false, kIdentifier, "kept-" + action);
}

/// Identifier of the kept answer that grants `action`; empty when there is none.
std::string FakePolkitAuthority::keptActionFor(const std::string& action) const {
  for (const std::string& kept : keptActions_) {
    const auto implied = behaviour_.implied.find(kept);
    if (kept == action || (implied != behaviour_.implied.end() && implied->second == action)) return "kept-" + kept;
  }
  return {};
}

int FakePolkitAuthority::answerActions(sd_bus_message* message) const {
  sd_bus_message* reply = nullptr;
  requireBusResult(sd_bus_message_new_method_return(message, &reply), "reply");
  requireBusResult(sd_bus_message_open_container(reply, 'a', "(ssssssuuua{ss})"), "list");
  for (const auto& entry : behaviour_.actions) {
    requireBusResult(
        sd_bus_message_append(reply, "(ssssssuuua{ss})", entry.first.c_str(), "Description", "Message", "Vendor", "",
                              "", std::uint32_t{4}, std::uint32_t{4}, std::uint32_t{4}, 1, "key", "value"),
        "action");
  }
  requireBusResult(sd_bus_message_close_container(reply), "end of list");
  const int sent = sd_bus_send(service_.bus(), reply, nullptr);
  sd_bus_message_unref(reply);
  return sent;
}

int FakePolkitAuthority::answerRevocation(sd_bus_message* message) {
  const std::string identifier = readBusText(message);
  service_.record("RevokeTemporaryAuthorizationById " + identifier);
  {
    const std::lock_guard guard(lock_);
    revokingPeers_.insert(sd_bus_message_get_sender(message));
  }
  if (!behaviour_.answersRevocation) return 1;
  if (!behaviour_.canRevoke) {
    return sd_bus_reply_method_errorf(message, kFailed, "Cannot determine session the caller is in");
  }
  keptActions_.erase(identifier.substr(std::string("kept-").size()));
  return sd_bus_reply_method_return(message, "");
}

}  // namespace quillon::testing
