// A polkit authentication agent that answers every dialog as it was told, for the tests that run in a machine of
// their own: ScriptedPolkitAgent ANSWER PASSWORD RECORD COMMAND [ARGUMENT…]
//
// Registers for the session that it runs in, with the language in LANG, runs the command, and ends with the command's
// exit status (128 + signal when a signal ended it). ANSWER is one of
//
//   yes     authenticates the administrator with PASSWORD, through polkit's own helper, as an agent with windows does
//   no      the same with a password that is wrong
//   cancel  answers that the user dismissed the dialog
//   never   leaves the dialog open
//
// RECORD receives one paragraph of "key=value" lines for each dialog: "action", "message", one "detail.KEY" for each
// detail and one "identity" for each administrator to choose from. A dialog that polkit takes back is the paragraph
// "withdrawn=COOKIE".
//
// Such an agent knows a password: it belongs into a machine that is thrown away after the test.

#include <pwd.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>
#include <systemd/sd-login.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr const char* kHelper = "/usr/lib/polkit-1/polkit-agent-helper-1";
constexpr const char* kAuthority = "org.freedesktop.PolicyKit1";
constexpr const char* kAuthorityPath = "/org/freedesktop/PolicyKit1/Authority";
constexpr const char* kAuthorityInterface = "org.freedesktop.PolicyKit1.Authority";
constexpr const char* kAgentPath = "/io/quillon/ScriptedPolkitAgent";
constexpr const char* kCancelled = "org.freedesktop.PolicyKit1.Error.Cancelled";
constexpr int kUsageStatus = 64;

int require(int result, const char* what) {
  if (result < 0) throw std::runtime_error(std::string(what) + ": " + std::strerror(-result));
  return result;
}

enum class Answer { yes, no, cancel, never };

Answer answerNamed(std::string_view name) {
  if (name == "yes") return Answer::yes;
  if (name == "no") return Answer::no;
  if (name == "cancel") return Answer::cancel;
  if (name == "never") return Answer::never;
  throw std::invalid_argument("Unknown answer " + std::string(name));
}

/// What polkit sends with a dialog.
struct Challenge {
  std::string record;
  std::string cookie;
  std::vector<uid_t> administrators;
};

void readDetails(sd_bus_message* message, Challenge& challenge) {
  require(sd_bus_message_enter_container(message, 'a', "{ss}"), "details");
  const char* key = nullptr;
  const char* value = nullptr;
  while (require(sd_bus_message_read(message, "{ss}", &key, &value), "detail") > 0) {
    challenge.record += std::string("detail.") + key + "=" + value + "\n";
  }
  require(sd_bus_message_exit_container(message), "details");
}

void readIdentity(sd_bus_message* message, Challenge& challenge) {
  const char* kind = nullptr;
  require(sd_bus_message_read(message, "s", &kind), "kind of identity");
  require(sd_bus_message_enter_container(message, 'a', "{sv}"), "identity");
  const char* key = nullptr;
  std::uint32_t number = 0;
  while (require(sd_bus_message_enter_container(message, 'e', "sv"), "identity") > 0) {
    require(sd_bus_message_read(message, "sv", &key, "u", &number), "identity");
    require(sd_bus_message_exit_container(message), "identity");
  }
  require(sd_bus_message_exit_container(message), "identity");
  challenge.record += std::string("identity=") + kind + ":" + std::to_string(number) + "\n";
  if (std::string_view(kind) == "unix-user") challenge.administrators.push_back(number);
}

Challenge readChallenge(sd_bus_message* message) {
  Challenge challenge;
  const char* action = nullptr;
  const char* text = nullptr;
  const char* icon = nullptr;
  const char* cookie = nullptr;
  require(sd_bus_message_read(message, "sss", &action, &text, &icon), "challenge");
  challenge.record = std::string("action=") + action + "\nmessage=" + text + "\n";
  readDetails(message, challenge);
  require(sd_bus_message_read(message, "s", &cookie), "cookie");
  challenge.cookie = cookie;
  require(sd_bus_message_enter_container(message, 'a', "(sa{sv})"), "identities");
  while (require(sd_bus_message_enter_container(message, 'r', "sa{sv}"), "identity") > 0) {
    readIdentity(message, challenge);
    require(sd_bus_message_exit_container(message), "identity");
  }
  require(sd_bus_message_exit_container(message), "identities");
  return challenge;
}

/// Talks to polkit's helper, which asks PAM about the password and tells polkit the outcome.
/// Its protocol: the cookie, then a line for every PAM message; "SUCCESS" or "FAILURE" ends it.
void authenticate(uid_t administrator, const std::string& cookie, const std::string& password) {
  const passwd* entry = getpwuid(administrator);
  if (entry == nullptr) throw std::runtime_error("An administrator has no name");
  std::array<int, 2> ends{};
  require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0 ? 0 : -errno, "socketpair");

  std::array<const char*, 3> arguments = {kHelper, entry->pw_name, nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  pid_t helper = -1;
  const int error =
      posix_spawn(&helper, kHelper, &actions, nullptr, const_cast<char* const*>(arguments.data()), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  require(-error, kHelper);

  FILE* conversation = fdopen(ends[0], "r+");
  std::fprintf(conversation, "%s\n", cookie.c_str());
  std::fflush(conversation);
  std::array<char, 512> line{};
  while (std::fgets(line.data(), static_cast<int>(line.size()), conversation) != nullptr) {
    const std::string_view text(line.data());
    if (text.starts_with("PAM_PROMPT")) {
      std::fprintf(conversation, "%s\n", password.c_str());
      std::fflush(conversation);
    }
    if (text.starts_with("SUCCESS") || text.starts_with("FAILURE")) break;
  }
  std::fclose(conversation);
  waitpid(helper, nullptr, 0);
}

class ScriptedPolkitAgent {
 public:
  ScriptedPolkitAgent(Answer answer, std::string password, const char* recordFile)
      : answer_(answer), password_(std::move(password)), record_(recordFile, std::ios::app) {
    if (!record_) throw std::runtime_error(std::string("Cannot write ") + recordFile);
    require(sd_event_default(&event_), "sd_event_default");
    require(sd_bus_open_system(&bus_), "system bus");
    require(sd_bus_attach_event(bus_, event_, SD_EVENT_PRIORITY_NORMAL), "sd_bus_attach_event");
    require(sd_bus_add_object_vtable(bus_, nullptr, kAgentPath, "org.freedesktop.PolicyKit1.AuthenticationAgent",
                                     kMethods.data(), this),
            "agent object");
    registerForOwnSession();
  }
  ~ScriptedPolkitAgent() {
    for (sd_bus_message* open : openDialogs_) sd_bus_message_unref(open);
    sd_bus_flush_close_unref(bus_);
    sd_event_unref(event_);
  }
  ScriptedPolkitAgent(const ScriptedPolkitAgent&) = delete;
  ScriptedPolkitAgent& operator=(const ScriptedPolkitAgent&) = delete;

  /// Runs the command, answering dialogs meanwhile; its exit status.
  int run(char* const* command) {
    // sd_event learns of the end through a blocked SIGCHLD; the command itself begins with nothing blocked.
    sigset_t none;
    sigset_t child;
    sigemptyset(&none);
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    sigprocmask(SIG_BLOCK, &child, nullptr);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t process = -1;
    const int error = posix_spawnp(&process, command[0], nullptr, &attributes, command, environ);
    posix_spawnattr_destroy(&attributes);
    require(-error, command[0]);
    require(sd_event_add_child(event_, nullptr, process, WEXITED, commandDidEnd, nullptr), "sd_event_add_child");
    return require(sd_event_loop(event_), "sd_event_loop");
  }

 private:
  /// Of the texts in the dialog.
  static const char* locale() noexcept {
    const char* const language = std::getenv("LANG");
    return language == nullptr ? "C" : language;
  }

  void registerForOwnSession() {
    char* session = nullptr;
    require(sd_pid_get_session(0, &session), "session of this process");
    sd_bus_error error{};
    const int result =
        sd_bus_call_method(bus_, kAuthority, kAuthorityPath, kAuthorityInterface, "RegisterAuthenticationAgent", &error,
                           nullptr, "(sa{sv})ss", "unix-session", 1, "session-id", "s", session, locale(), kAgentPath);
    std::free(session);
    const std::string reason = error.message == nullptr ? "" : error.message;
    sd_bus_error_free(&error);
    if (result < 0) throw std::runtime_error("RegisterAuthenticationAgent: " + reason);
  }

  static int commandDidEnd(sd_event_source* source, const siginfo_t* information, void* /*unused*/) {
    const int status = information->si_code == CLD_EXITED ? information->si_status : 128 + information->si_status;
    return sd_event_exit(sd_event_source_get_event(source), status);
  }

  static int beginAuthentication(sd_bus_message* message, void* agent, sd_bus_error* error) noexcept {
    try {
      return static_cast<ScriptedPolkitAgent*>(agent)->answerDialog(message);
    } catch (const std::exception& failure) {
      return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, failure.what());
    }
  }

  static int cancelAuthentication(sd_bus_message* message, void* agent, sd_bus_error* /*unused*/) noexcept {
    const char* cookie = nullptr;
    if (const int result = sd_bus_message_read(message, "s", &cookie); result < 0) return result;
    static_cast<ScriptedPolkitAgent*>(agent)->record_ << "withdrawn=" << cookie << "\n\n" << std::flush;
    return sd_bus_reply_method_return(message, "");
  }

  int answerDialog(sd_bus_message* message) {
    const Challenge challenge = readChallenge(message);
    record_ << challenge.record << "\n" << std::flush;
    switch (answer_) {
      case Answer::cancel:
        return sd_bus_reply_method_errorf(message, kCancelled, "The dialog was dismissed");
      case Answer::never:
        openDialogs_.push_back(sd_bus_message_ref(message));
        return 1;
      case Answer::yes:
      case Answer::no:
        break;
    }
    if (challenge.administrators.empty()) throw std::runtime_error("There is no administrator to authenticate");
    authenticate(challenge.administrators.front(), challenge.cookie,
                 answer_ == Answer::yes ? password_ : password_ + " is wrong");
    return sd_bus_reply_method_return(message, "");
  }

  static constexpr std::array<sd_bus_vtable, 4> kMethods = {
      sd_bus_vtable SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD("BeginAuthentication", "sssa{ss}sa(sa{sv})", "", beginAuthentication, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_METHOD("CancelAuthentication", "s", "", cancelAuthentication, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_VTABLE_END};

  Answer answer_;
  std::string password_;
  std::ofstream record_;
  sd_event* event_ = nullptr;
  sd_bus* bus_ = nullptr;
  std::vector<sd_bus_message*> openDialogs_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) {
    std::cerr << "Usage: ScriptedPolkitAgent yes|no|cancel|never PASSWORD RECORD COMMAND [ARGUMENT...]\n";
    return kUsageStatus;
  }
  try {
    return ScriptedPolkitAgent(answerNamed(argv[1]), argv[2], argv[3]).run(argv + 4);
  } catch (const std::exception& failure) {
    std::cerr << "ScriptedPolkitAgent: " << failure.what() << "\n";
    return EXIT_FAILURE;
  }
}
