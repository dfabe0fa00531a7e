// quillon-launchctl: runs a command as a user, in that user's session.

#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Runtime/Posix/CommandProcess.h"
#include "QuillonCore/Runtime/Posix/QuillonProcessEnvironment.h"
#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Values/QuillonError.h"
#include "UserAccount.h"
#include "UserSession.h"

namespace {

using quillon::UserAccount;

constexpr std::string_view kUsage =
    "Usage: quillon-launchctl asuser UID COMMAND [ARGUMENT...]\n"
    "Runs COMMAND, an absolute path, as the user of that number, with the user's groups\n"
    "and the environment of the user's session.\n"
    "\n"
    "  --help     show this text\n"
    "  --version  show the version\n";

constexpr int kUsageError = 64;                    // EX_USAGE of <sysexits.h>
constexpr int kCannotExecute = 126;                // as shells report it
constexpr int kCommandNotFound = 127;              // as shells report it
constexpr uid_t kNoUser = static_cast<uid_t>(-1);  // chown(2) and setresuid(2) take it for "unchanged"

int fail(std::string_view message, int status) {
  std::cerr << "quillon-launchctl: " << message << '\n';
  return status;
}

/// Leaves nothing of this process to the command but its standard streams.
void letGoOfTheRest() {
  closefrom(STDERR_FILENO + 1);
  for (int signal = 1; signal < NSIG; ++signal) std::signal(signal, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

int runAsUser(const UserAccount& account, std::vector<std::string> command) {
  quillon::becomeUser(account);
  std::vector<std::string> variables = quillon::sessionEnvironment(account);
  if (chdir(account.homeDirectory.c_str()) != 0 && chdir("/") != 0) return fail("Cannot leave the folder.", 1);
  letGoOfTheRest();
  execve(command.front().c_str(), quillon::pointersToStrings(command).data(),
         quillon::pointersToStrings(variables).data());
  const int error = errno;
  return fail(quillon::QuillonSystemError::posix(error, "run", command.front()).description(),
              error == ENOENT ? kCommandNotFound : kCannotExecute);
}

int asUser(std::span<const std::string> words) {
  if (words.size() < 2) return fail("asuser needs a user's number and a command.", kUsageError);
  const auto userIdentifier = quillon::decimalNumber<uid_t>(words[0]);
  if (!userIdentifier || *userIdentifier == kNoUser) return fail(words[0] + " is no user's number.", kUsageError);
  if (!words[1].starts_with('/')) return fail(words[1] + " is no absolute path.", kUsageError);
  const std::optional<UserAccount> account = UserAccount::find(*userIdentifier);
  if (!account) return fail("There is no user with the number " + words[0] + ".", EXIT_FAILURE);
  return runAsUser(*account, {words.begin() + 1, words.end()});
}

int run(std::span<const std::string> words) {
  if (words.empty()) {
    std::cerr << kUsage;
    return kUsageError;
  }
  if (words[0] == "asuser") return asUser(words.subspan(1));
  if (words[0] == "--help") {
    std::cout << kUsage;
    return EXIT_SUCCESS;
  }
  if (words[0] == "--version") {
    std::cout << "quillon-launchctl " QUILLON_VERSION "\n";
    return EXIT_SUCCESS;
  }
  return fail("unknown subcommand " + words[0], kUsageError);
}

}  // namespace

int main(int argumentCount, char** arguments) {
  quillon::prepareCommandProcess();
  try {
    const std::vector<std::string> words(arguments + (argumentCount > 0 ? 1 : 0), arguments + argumentCount);
    return run(words);
  } catch (const std::exception& error) {
    return fail(error.what(), EXIT_FAILURE);
  }
}
