#include "UserAccount.h"

#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

void require(bool succeeded, std::string_view action, const UserAccount& account) {
  if (!succeeded) throw QuillonSystemError::posix(errno, action, "user " + account.name);
}

bool hasNoCapability() noexcept {
  __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
  std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
  if (syscall(SYS_capget, &header, sets.data()) != 0) return false;
  for (const auto& set : sets) {
    if (set.effective != 0 || set.permitted != 0) return false;
  }
  return true;
}

bool isOnlyUser(const UserAccount& account) noexcept {
  std::array<uid_t, 3> users{};
  std::array<gid_t, 3> groups{};
  if (getresuid(&users[0], &users[1], &users[2]) != 0 || getresgid(&groups[0], &groups[1], &groups[2]) != 0) {
    return false;
  }
  for (const uid_t user : users) {
    if (user != account.userIdentifier) return false;
  }
  for (const gid_t group : groups) {
    if (group != account.groupIdentifier) return false;
  }
  return true;
}

/// Tries the ways back that must be closed. Group 0 can be the user's own; then there is nothing to go back to.
bool canGoBack(const UserAccount& account) noexcept {
  if (setresuid(0, 0, 0) == 0 || seteuid(0) == 0) return true;
  return account.groupIdentifier != 0 && (setresgid(0, 0, 0) == 0 || setegid(0) == 0);
}

bool isAlreadyUser(const UserAccount& account) noexcept {
  return geteuid() != 0 && isOnlyUser(account);
}

}  // namespace

std::optional<UserAccount> UserAccount::find(uid_t userIdentifier) {
  std::vector<char> storage(1024);
  passwd record{};
  passwd* found = nullptr;
  int error = 0;
  while ((error = getpwuid_r(userIdentifier, &record, storage.data(), storage.size(), &found)) == ERANGE) {
    storage.resize(storage.size() * 2);
  }
  if (error != 0) {
    throw QuillonSystemError::posix(error, "look up", "user " + std::to_string(userIdentifier));
  }
  if (found == nullptr) return std::nullopt;
  return UserAccount{.userIdentifier = record.pw_uid,
                     .groupIdentifier = record.pw_gid,
                     .name = record.pw_name,
                     .homeDirectory = record.pw_dir,
                     .shell = record.pw_shell};
}

void becomeUser(const UserAccount& account) {
  if (isAlreadyUser(account)) return;
  // Groups first: afterwards this process may not change them any more.
  require(initgroups(account.name.c_str(), account.groupIdentifier) == 0, "take the groups of", account);
  require(setresgid(account.groupIdentifier, account.groupIdentifier, account.groupIdentifier) == 0,
          "take the group of", account);
  require(prctl(PR_SET_KEEPCAPS, 0, 0, 0, 0) == 0, "drop capabilities for", account);
  require(prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0) == 0, "drop capabilities for", account);
  require(setresuid(account.userIdentifier, account.userIdentifier, account.userIdentifier) == 0, "become", account);
  if (!isOnlyUser(account)) throw QuillonError("Cannot become user " + account.name + " completely.");
  if (account.userIdentifier == 0) return;
  if (!hasNoCapability()) throw QuillonError("Capabilities are left as user " + account.name + ".");
  if (canGoBack(account)) throw QuillonError("Root can be regained as user " + account.name + ".");
}

}  // namespace quillon
