// QuillonUpdateInstallerLauncherService: starts the installer for the application that contains it.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>
#include <string_view>

#include "QuillonCore/Runtime/Posix/CommandProcess.h"
#include "QuillonCore/Runtime/QuillonSystemLog.h"
#include "QuillonUpdateInstallerLauncherService/LauncherServiceConnection.h"

namespace {

constexpr const char* kUsage =
    "Usage: QuillonUpdateInstallerLauncherService\n"
    "Starts the installer of updates for the application that contains this program.\n"
    "That application starts it, with a connection; it is of no use on a command line.\n"
    "\n"
    "  --help     show this text\n"
    "  --version  show the version\n";

constexpr int kUsageError = 64;  // EX_USAGE of <sysexits.h>

int run(std::span<char* const> words) {
  if (!words.empty() && std::string_view(words.front()) == "--help") {
    std::fputs(kUsage, stdout);
    return EXIT_SUCCESS;
  }
  if (!words.empty() && std::string_view(words.front()) == "--version") {
    std::fputs("QuillonUpdateInstallerLauncherService " QUILLON_VERSION "\n", stdout);
    return EXIT_SUCCESS;
  }
  if (!words.empty() || !quillon::hasInheritedConnection()) {
    if (words.empty()) std::fputs("QuillonUpdateInstallerLauncherService: there is no connection to a host\n", stderr);
    std::fputs(kUsage, stderr);
    return kUsageError;
  }
  quillon::serveInheritedConnection();
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  quillon::prepareCommandProcess();
  try {
    const std::span words(arguments, static_cast<std::size_t>(argumentCount));
    return run(words.subspan(words.empty() ? 0 : 1));
  } catch (const std::exception& error) {
    // Standard error leads nowhere when a host started this.
    quillon::writeToSystemLog(error.what());
    std::fprintf(stderr, "QuillonUpdateInstallerLauncherService: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
