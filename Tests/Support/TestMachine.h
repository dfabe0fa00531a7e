#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Support/ControlGroup.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {

/// No machine can be booted here; what() says why in one line.
class TestMachineUnavailable : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What became of a command in a TestMachine.
struct TestMachineCommandResult {
  /// Exit status of the command; 124 when it was ended for taking too long.
  std::int32_t status = 1;
  /// Standard output and standard error, joined.
  std::string output;
};

/// A Debian machine with a systemd, a system bus, a polkit and logins of its own, booted for a test suite.
///
/// It is the one of tools/make_test_machine, which makes it when it is missing, booted by systemd-nspawn behind an
/// overlay in memory: every machine starts the same, and nothing that happens in it stays. It has no network. Its
/// users are "alice", without any rights, and "admin", whom polkit takes for an administrator and whose password is
/// `administratorPassword`.
class TestMachine {
 public:
  static constexpr const char* administratorPassword = "secret";
  /// For how long a command in the machine may run, unless something else is said.
  static constexpr std::chrono::seconds commandLimit{120};

  /// A folder of this machine that is seen, read-only, in the test machine.
  struct Folder {
    std::filesystem::path here;
    std::string there;
  };

  /// Who logs in, and how.
  struct Session {
    std::string user = "alice";
    /// Whether the session is in front of a screen and a keyboard, as that of a desktop is, or is one without, as ssh
    /// makes it. polkit tells them apart.
    bool hasSeat = true;
    /// More variables of its environment, NAME=value.
    std::vector<std::string> environment{};
    /// For how long its command may run.
    std::chrono::seconds limit = commandLimit;
  };

  /// Boots; returns when the machine is up. Throws TestMachineUnavailable.
  explicit TestMachine(const std::vector<Folder>& folders = {});
  /// Ends everything that runs in the machine, at once.
  ~TestMachine();
  TestMachine(const TestMachine&) = delete;
  TestMachine& operator=(const TestMachine&) = delete;

  /// Where files of the machine are on this one: `path` there is `root() / path`. A symbolic link to an absolute path
  /// leads to this machine's file of that name.
  [[nodiscard]] std::filesystem::path root() const;

  /// Runs a command as root, outside of any session, and waits for its end. The first word is found through PATH.
  [[nodiscard]] TestMachineCommandResult run(const std::vector<std::string>& command) const;

  /// Logs a user in, runs a command in the session and waits for its end. The session ends with it.
  [[nodiscard]] TestMachineCommandResult runInSession(const Session& session,
                                                      const std::vector<std::string>& command) const;

  /// Calls `function` on a thread in the network of the machine, which has nothing but a loopback. Sockets that are
  /// made there stay there, whoever uses them. Throws what `function` throws.
  void callInNetwork(const std::function<void()>& function) const;

 private:
  void boot(const std::filesystem::path& image, const std::vector<Folder>& folders);
  void waitUntilUp(int notifications);
  [[nodiscard]] TestMachineCommandResult enter(const std::vector<std::string>& command,
                                               std::chrono::seconds limit = commandLimit) const;
  void end() noexcept;

  TemporaryDirectory folder_;
  ControlGroup group_;
  pid_t container_ = -1;
  /// The machine's first process, as this machine numbers it.
  pid_t leader_ = -1;
};

}  // namespace quillon::testing
