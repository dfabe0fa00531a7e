#include "UserSession.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <system_error>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"

namespace quillon {
namespace {

/// What of a session's environment a program needs to appear in that session, in the user's language.
constexpr auto kSessionVariables =
    std::to_array<std::string_view>({"DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY", "DBUS_SESSION_BUS_ADDRESS",
                                     "XDG_SESSION_TYPE", "XDG_CURRENT_DESKTOP", "LANG"});

/// A larger environment than a session has (bytes); what is behind it is not looked at.
constexpr std::size_t kLargestEnvironment = std::size_t{1024} * 1024;

bool belongsTo(const UserAccount& account, const std::filesystem::path& path, mode_t type) noexcept {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == type &&
         status.st_uid == account.userIdentifier;
}

std::string readEnvironment(const std::filesystem::path& file) {
  const FileDescriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  std::string text;
  std::array<char, 4096> buffer{};
  while (text.size() < kLargestEnvironment) {
    const ssize_t count = read(descriptor.get(), buffer.data(), buffer.size());
    if (count <= 0) break;
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return text;
}

std::string_view nameOf(std::string_view variable) noexcept {
  return variable.substr(0, variable.find('='));
}

/// The session variables of the process that `folder` describes.
std::vector<std::string> sessionVariables(const std::filesystem::path& folder) {
  std::vector<std::string> variables;
  const std::string text = readEnvironment(folder / "environ");
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::string_view variable = rest.substr(0, rest.find('\0'));
    if (std::ranges::find(kSessionVariables, nameOf(variable)) != kSessionVariables.end()) {
      variables.emplace_back(variable);
    }
    rest.remove_prefix(std::min(variable.size() + 1, rest.size()));
  }
  return variables;
}

/// How well variables describe a graphical session: not at all, a forwarded display, a display of this machine.
int displayRank(const std::vector<std::string>& variables) noexcept {
  int rank = 0;
  for (const std::string_view variable : variables) {
    if (variable.starts_with("WAYLAND_DISPLAY=") || variable.starts_with("DISPLAY=:")) return 2;
    if (variable.starts_with("DISPLAY=")) rank = 1;
  }
  return rank;
}

bool isProcessName(std::string_view name) noexcept {
  return !name.empty() && name.find_first_not_of("0123456789") == std::string_view::npos;
}

/// The variables of the user's process that tells most of a display. All come from one process, so that they agree.
std::vector<std::string> variablesOfBestProcess(const UserAccount& account,
                                                const std::filesystem::path& processFolder) {
  std::vector<std::string> best;
  std::error_code error;  // a folder that cannot be listed is a session without variables
  for (const auto& entry : std::filesystem::directory_iterator(processFolder, error)) {
    if (!isProcessName(entry.path().filename().native()) || !belongsTo(account, entry.path(), S_IFDIR)) continue;
    std::vector<std::string> variables = sessionVariables(entry.path());
    if (displayRank(variables) > displayRank(best)) best = std::move(variables);
    if (displayRank(best) == 2) break;
  }
  return best;
}

bool holds(const std::vector<std::string>& variables, std::string_view name) noexcept {
  return std::ranges::find(variables, name, nameOf) != variables.end();
}

}  // namespace

std::vector<std::string> sessionEnvironment(const UserAccount& account, const std::filesystem::path& processFolder) {
  std::vector<std::string> variables = {
      "HOME=" + account.homeDirectory,     "USER=" + account.name,
      "LOGNAME=" + account.name,           "SHELL=" + (account.shell.empty() ? std::string("/bin/sh") : account.shell),
      "PATH=/usr/local/bin:/usr/bin:/bin",
  };
  std::vector<std::string> session = variablesOfBestProcess(account, processFolder);
  variables.insert(variables.end(), session.begin(), session.end());
  const std::filesystem::path runtimeFolder = "/run/user/" + std::to_string(account.userIdentifier);
  if (!belongsTo(account, runtimeFolder, S_IFDIR)) return variables;
  variables.push_back("XDG_RUNTIME_DIR=" + runtimeFolder.string());
  if (!holds(variables, "DBUS_SESSION_BUS_ADDRESS") && belongsTo(account, runtimeFolder / "bus", S_IFSOCK)) {
    variables.push_back("DBUS_SESSION_BUS_ADDRESS=unix:path=" + (runtimeFolder / "bus").string());
  }
  return variables;
}

}  // namespace quillon
