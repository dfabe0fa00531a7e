#include "QuillonTool/Update/Linux/ProcApplicationProcesses.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerOptions.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateHelperIdentity.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

/// What the kernel adds to the path of a program whose file was removed (proc_pid_exe(5)).
constexpr std::string_view kDeleted = " (deleted)";

std::string programOf(const fs::path& process) {
  std::error_code error;
  std::string program = fs::read_symlink(process / "exe", error).string();
  if (program.ends_with(kDeleted)) program.resize(program.size() - kDeleted.size());
  return program;
}

/// Empty for a process that ends while it is read.
std::string contentOf(const fs::path& path) {
  try {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  } catch (const std::ios_base::failure&) {
    return {};
  }
}

std::vector<std::string> commandLineOf(const fs::path& process) {
  const std::string bytes = contentOf(process / "cmdline");
  std::vector<std::string> words;
  for (std::string_view rest = bytes; !rest.empty();) {
    const std::size_t end = std::min(rest.find('\0'), rest.size());
    words.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return words;
}

bool isInstallerOf(const std::vector<std::string>& words, const std::string& bundle) {
  if (words.empty() || fs::path(words.front()).filename() != VeskAppBundleUpdateHelperIdentity::executableName) {
    return false;
  }
  const auto option = std::ranges::find(words, VeskAppBundleInstallerOptions::installedApplication);
  return option != words.end() && std::next(option) != words.end() && *std::next(option) == bundle;
}

/// The user who started the process. The effective one does not tell: anybody can start a set-user-ID program with the
/// words of an installer, and the owner of the process's folder is root wherever a process does not want to be looked
/// at.
std::optional<uid_t> realUserOf(const fs::path& process) {
  std::istringstream lines(contentOf(process / "status"));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string key;
    std::string realUser;
    if (words >> key >> realUser && key == "Uid:") return decimalNumber<uid_t>(realUser);
  }
  return std::nullopt;
}

/// Those whose installers can give a new bundle the owner of `bundle`. The owner of the folder stands for that of a
/// bundle which an installer has moved aside at this moment.
std::vector<uid_t> usersWhoReplace(const fs::path& bundle) {
  std::vector<uid_t> users = {0, geteuid()};
  for (const fs::path& item : {bundle, bundle.parent_path()}) {
    struct stat status {};
    if (lstat(item.c_str(), &status) == 0) users.push_back(status.st_uid);
  }
  return users;
}

bool isOneOf(const std::vector<uid_t>& users, std::optional<uid_t> user) {
  return user && std::ranges::find(users, *user) != users.end();
}

std::optional<ApplicationProcess> processIn(const fs::path& process, std::int32_t identifier, const std::string& bundle,
                                            const std::vector<uid_t>& installingUsers) {
  if (isInstallerOf(commandLineOf(process), bundle) && isOneOf(installingUsers, realUserOf(process))) {
    return ApplicationProcess{.identifier = identifier,
                              .name = std::string(VeskAppBundleUpdateHelperIdentity::executableName),
                              .isInstaller = true};
  }
  const std::string program = programOf(process);
  if (!program.starts_with(bundle + "/")) return std::nullopt;
  return ApplicationProcess{
      .identifier = identifier, .name = fs::path(program).filename().string(), .isInstaller = false};
}

}  // namespace

ProcApplicationProcesses::ProcApplicationProcesses(std::string folder) : folder_(std::move(folder)) {}

std::vector<ApplicationProcess> ProcApplicationProcesses::processesOf(const QuillonURL& bundle) const {
  const std::vector<uid_t> installingUsers = usersWhoReplace(bundle.path());
  std::vector<ApplicationProcess> found;
  std::error_code error;
  for (fs::directory_iterator entry(folder_, error), end; !error && entry != end; entry.increment(error)) {
    const auto identifier = decimalNumber<std::int32_t>(entry->path().filename().string());
    if (!identifier || *identifier == getpid()) continue;
    if (auto process = processIn(entry->path(), *identifier, bundle.path(), installingUsers)) {
      found.push_back(*std::move(process));
    }
  }
  std::ranges::sort(found, {}, &ApplicationProcess::identifier);
  return found;
}

std::shared_ptr<const ApplicationProcessFinding> makeSystemApplicationProcesses() {
  return std::make_shared<ProcApplicationProcesses>();
}

}  // namespace quillon
