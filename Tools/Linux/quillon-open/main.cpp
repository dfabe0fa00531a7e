// quillon-open: opens application bundles and files from a command line or a job.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <span>
#include <string_view>

#include "QuillonCore/Runtime/Linux/QuillonLinuxWorkspace.h"
#include "QuillonCore/Values/QuillonError.h"

namespace {

constexpr std::string_view kUsage =
    "Usage: quillon-open PATH...\n"
    "Opens each PATH: an application bundle by starting it, anything else with the\n"
    "desktop's handler for it. Does not wait for what it started.\n"
    "\n"
    "  --help     show this text\n"
    "  --version  show the version\n";

constexpr int kUsageError = 64;  // EX_USAGE of <sysexits.h>

bool open(const quillon::QuillonLinuxWorkspace& workspace, std::string_view path) {
  try {
    workspace.openOrThrow(quillon::QuillonURL::fileURL(path));
    return true;
  } catch (const quillon::QuillonError& error) {
    std::cerr << "quillon-open: " << error.description() << '\n';
    return false;
  }
}

int run(std::span<char* const> paths) {
  if (!paths.empty() && std::string_view(paths.front()) == "--help") {
    std::cout << kUsage;
    return EXIT_SUCCESS;
  }
  if (!paths.empty() && std::string_view(paths.front()) == "--version") {
    std::cout << "quillon-open " QUILLON_VERSION "\n";
    return EXIT_SUCCESS;
  }
  if (!paths.empty() && std::string_view(paths.front()) == "--") {
    paths = paths.subspan(1);
  } else if (!paths.empty() && std::string_view(paths.front()).starts_with('-')) {
    std::cerr << "quillon-open: unknown option " << paths.front() << '\n' << kUsage;
    return kUsageError;
  }
  if (paths.empty()) {
    std::cerr << kUsage;
    return kUsageError;
  }
  const quillon::QuillonLinuxWorkspace workspace;
  bool openedAll = true;
  for (const char* path : paths) openedAll = open(workspace, path) && openedAll;
  return openedAll ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  try {
    const std::span words(arguments, static_cast<std::size_t>(argumentCount));
    return run(words.subspan(words.empty() ? 0 : 1));
  } catch (const std::exception& error) {
    std::cerr << "quillon-open: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
