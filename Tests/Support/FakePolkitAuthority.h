#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <semaphore>
#include <set>
#include <string>
#include <vector>

#include "Support/FakeBusService.h"

namespace quillon::testing {

/// polkit's authority on a message bus, with actions and a user whose answers are set beforehand. Tells what polkit 122
/// tells in the same place.
class FakePolkitAuthority {
 public:
  /// What becomes of a question.
  enum class Answer {
    granted,    ///< without anybody being asked
    confirmed,  ///< the user gives the password; polkit does not keep that
    kept,       ///< the user gives the password; polkit keeps that
    refused,    ///< the password is wrong
    dismissed,  ///< the user closes the dialog
    noAgent,    ///< nobody can be asked
    silence,    ///< polkit never answers
    held,       ///< the dialog is open until release(); then the user gives the password, and polkit keeps that
  };
  struct Error {
    std::string name;
    std::string text;
  };
  /// Set before the first call reaches it.
  struct Behaviour {
    /// The actions that have an action file.
    std::map<std::string, Answer> actions = {};
    /// An action that the key implies once it is kept.
    std::map<std::string, std::string> implied = {};
    /// Answer of CheckAuthorization instead of a result.
    std::optional<Error> checkError = {};
    bool canRevoke = true;
    /// Whether RevokeTemporaryAuthorizationById is answered at all.
    bool answersRevocation = true;
  };

  FakePolkitAuthority(const std::string& busAddress, Behaviour behaviour);

  /// The calls in their order: member and arguments, separated by blanks.
  [[nodiscard]] std::vector<std::string> calls() const { return service_.calls(); }

  /// The peers of the bus that had answers taken back.
  [[nodiscard]] std::set<std::string> revokingPeers() const;

  /// Waits until the dialog of a held question is open.
  void waitUntilHeld() { open_.acquire(); }
  void release() { released_.release(); }

 private:
  int answer(sd_bus_message* message);
  int answerCheck(sd_bus_message* message);
  int answerActions(sd_bus_message* message) const;
  int answerRevocation(sd_bus_message* message);
  int reply(sd_bus_message* message, const std::string& action, Answer answer, bool mayAsk);
  [[nodiscard]] std::string keptActionFor(const std::string& action) const;

  const Behaviour behaviour_;
  std::binary_semaphore open_{0};
  std::binary_semaphore released_{0};
  std::set<std::string> keptActions_;  // of the answering thread
  mutable std::mutex lock_;
  std::set<std::string> revokingPeers_;  // guarded by lock_
  FakeBusService service_;               // last: answers as soon as it is there
};

}  // namespace quillon::testing
