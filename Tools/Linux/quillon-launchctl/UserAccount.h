#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace quillon {

/// A user as the system's user database describes one (passwd(5)).
struct UserAccount {
  uid_t userIdentifier = 0;
  gid_t groupIdentifier = 0;
  std::string name;
  std::string homeDirectory;
  std::string shell;

  /// Absent for a user without entry. Throws QuillonSystemError when the database cannot be read.
  [[nodiscard]] static std::optional<UserAccount> find(uid_t userIdentifier);
};

/// Makes this process the user's for good: all three user and group identifiers, the user's supplementary groups, and
/// no capability. Checks that there is no way back.
///
/// Throws QuillonError when that cannot be done completely. The process may then be half changed, and must end.
void becomeUser(const UserAccount& account);

}  // namespace quillon
